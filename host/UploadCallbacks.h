// UploadCallbacks: the script functions that a file upload calls by name
// (Sorn_ValidateFileUpload, Sorn_ProcessFileUpload), reduced to what the
// multipart parser needs of them. ScriptUploadCallbacks is the one
// implementation over the running script; the multipart parser sees only
// this interface.
#ifndef SORN_HOST_UPLOADCALLBACKS_H
#define SORN_HOST_UPLOADCALLBACKS_H

#include "core/String.h"

class ScriptParser;
class Sorn;

class UploadCallbacks {
 public:
  virtual ~UploadCallbacks() {}

  // Looks for a script function. 1: found, with the number of its declared
  // parameters in parameters. 0: not declared. -1: the search itself failed
  // and has been reported. With scanahead the rest of the script is scanned
  // for the declaration before the table of declared functions is asked;
  // without it the table is asked first and the scan follows.
  virtual int FindFunction(const String& name, int scanahead, int& parameters) = 0;

  // Calls a function that FindFunction found, with values bound in order to
  // its declared parameters. 1 with result set to its return text, 0 when
  // the call failed (the failure has been reported).
  virtual int CallFunction(const String& name, const String* values, int count, String& result) = 0;

  // Reports an expression error at the script's current line.
  virtual void ExpressionError(const String& message) = 0;
};

// Over the script parser of the current module: its function table, its
// forward scan for declarations, its calls, and its error policy.
class ScriptUploadCallbacks : public UploadCallbacks {
 public:
  explicit ScriptUploadCallbacks(Sorn* sorn) : sorn_(sorn) {}

  int FindFunction(const String& name, int scanahead, int& parameters) override;
  int CallFunction(const String& name, const String* values, int count, String& result) override;
  void ExpressionError(const String& message) override;

 private:
  ScriptParser* parser();

  Sorn* sorn_;
};

#endif
