// ErrorHandler: the error policy of one script parser. A table keyed by
// level says whether an error stops the script (fatal) and whether it is
// shown (display); the error output level filters by class.
#ifndef SORN_SCRIPT_ERRORHANDLER_H
#define SORN_SCRIPT_ERRORHANDLER_H

#include "core/SplayTree.h"
#include "core/String.h"

class Error;
class ScriptParser;
class Sorn;

struct ErrorSettings {
  int level;
  int fatal;
  int display;
};

inline int ElementName(const ErrorSettings* s) { return s->level; }

class ErrorHandler {
 public:
  ErrorHandler(Sorn* sorn, ScriptParser* parser);
  // A called module's copy: level, message and every settings record.
  explicit ErrorHandler(ErrorHandler* other);
  virtual ~ErrorHandler() {}
  ErrorHandler(const ErrorHandler&) = delete;
  ErrorHandler& operator=(const ErrorHandler&) = delete;

  // Writes the ERRORMESSAGE text and shows the error as the policy says.
  // Returns 1 when the error is not fatal, 0 when it is.
  int Error(int level, const class Error& error);
  int SetErrorOutputLevel(int level);
  String SetErrorMessage(const String& message);
  void SetFatal(int level, int fatal);
  void SetDisplay(int level, int display);
  // The record of a level, created fatal and displayed when new.
  ErrorSettings* GetErrorSettings(int level);
  int erroroutputlevel() const { return erroroutputlevel_; }

 private:
  void Set(int level, int fatal, int display);

  Sorn* sorn_;
  ScriptParser* parser_;
  int erroroutputlevel_;
  String errormessage_;
  SplayTree<ErrorSettings, int> settings_;
};

#endif
