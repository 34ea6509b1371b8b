// The Error family: each error knows its HTTP result code, its finished
// message and its level. Nothing is thrown; errors are passed to
// Sorn::Error or to a parser's ErrorHandler.
#ifndef SORN_CORE_ERROR_H
#define SORN_CORE_ERROR_H

#include "core/String.h"

class Config;

// Error levels: the top byte is the class, bit 23 marks an error that is
// always shown, the low bits of a runtime level are the tag id.
enum ErrorLevel {
  ErrorLevelRuntime = 0x1000000,
  ErrorLevelExpression = 0x2000000,
  ErrorLevelSyntax = 0x4000000,
  ErrorLevelTimeout = 0x8800000,
  ErrorLevelCallDepth = (int)0x80800000u,
  ErrorLevelAlwaysShown = 0x800000,
};

class Error {
 public:
  Error(int resultcode, const String& message) : resultcode_(resultcode), message_(message) {}
  virtual ~Error() {}
  virtual int resultcode() const { return resultcode_; }
  virtual const String& message() const { return message_; }
  virtual int Level() const = 0;

 private:
  int resultcode_;
  String message_;
};

class ConfigurationError : public Error {
 public:
  ConfigurationError(const Config* config, const String& message);
  int Level() const override { return 0; }
};

class ConfigurationSyntaxError : public Error {
 public:
  ConfigurationSyntaxError(const Config* config, int line, const String& message);
  int Level() const override { return 0; }
};

class ScriptNotFoundError : public Error {
 public:
  explicit ScriptNotFoundError(const String& text) : Error(404, text) {}
  int Level() const override { return 0; }
};

class FatalError : public Error {
 public:
  explicit FatalError(const String& text) : Error(500, "Fatal Error: " + text) {}
  int Level() const override { return 0; }
};

class RuntimeError : public Error {
 public:
  RuntimeError(const String& file, int line, const String& tag, const String& text);
  int Level() const override { return ErrorLevelRuntime; }
};

class SyntaxError : public Error {
 public:
  SyntaxError(const String& file, int line, const String& text);
  int Level() const override { return ErrorLevelSyntax; }
};

class ExpressionError : public Error {
 public:
  ExpressionError(const String& file, int line, const String& text);
  int Level() const override { return ErrorLevelExpression; }
};

class TimeoutError : public Error {
 public:
  explicit TimeoutError(const String& text) : Error(200, text + " timed out") {}
  int Level() const override { return 0; }
};

#endif
