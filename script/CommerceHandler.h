// CommerceHandler: one run of a commerce method, the loop of an SnCOMMERCE
// tag. The host derives the kind that loads the method's library; the tag
// only sees this interface. Its life is the loop's: made when the tag is
// met, deleted when the loop ends.
#ifndef SORN_SCRIPT_COMMERCEHANDLER_H
#define SORN_SCRIPT_COMMERCEHANDLER_H

#include "core/CommerceMethod.h"
#include "core/String.h"
#include "script/Variable.h"

class ScriptParser;

// Results of Go and Continue.
enum CommerceResult {
  CommerceResultReady = 0,     // a result is in the tree
  CommerceResultError = 1,     // error() tells why
  CommerceResultFinished = 2,  // nothing (more) to do
};

class CommerceHandler {
 public:
  CommerceHandler(CommerceMethod* method, ScriptParser* parser) : method(method), parser(parser) {}
  virtual ~CommerceHandler() {}
  CommerceHandler(const CommerceHandler&) = delete;
  CommerceHandler& operator=(const CommerceHandler&) = delete;

  virtual void SetAction(const String& text) { action = text; }
  // Replaces the fields by the script variables named in text, separated
  // by commas; a name without a variable is sent with an empty value.
  virtual void SetFields(const String& text);
  // The first result and each further one, into tree: a CommerceResult.
  virtual int Go(VariableTree& tree) = 0;
  virtual int Continue(VariableTree& tree) = 0;
  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) { error_ = text; }

  CommerceMethod* method;
  ScriptParser* parser;
  String action;
  VariableList fields;

 protected:
  String error_;
};

#endif
