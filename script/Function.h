// Function: a script function is a stretch of the script between
// SnFUNCTION and /SnFUNCTION; only its body's position is kept. A built-in
// carries a C function instead and a body line of 0.
#ifndef SORN_SCRIPT_FUNCTION_H
#define SORN_SCRIPT_FUNCTION_H

#include "core/String.h"
#include "script/Variable.h"

class ScriptParser;
class Sorn;

// The standard and error output levels that mean "leave it alone".
enum { FunctionKeepsOutputLevel = 255, FunctionKeepsErrorLevel = 0x7F000000 };

class Function : public String {
 public:
  Function(const String& name, long position, int line, int outputlevel, int errorlevel);
  virtual ~Function() {}
  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;

  // 1 when the body ran to its end or a return, else 0.
  virtual int CallFunction(ScriptParser* parser, VariableTree* locals, String& result);
  // Split at commas; an empty list gives one parameter with an empty name.
  void SetParameters(const String& list);

  long position() const { return position_; }
  int line() const { return line_; }
  int outputlevel() const { return outputlevel_; }
  int errorlevel() const { return errorlevel_; }
  VariableList& parameters() {
    if (declared_ != nullptr) {
      const char* list = declared_;
      declared_ = nullptr;
      SetParameters(list);
    }
    return parameters_;
  }

 protected:
  // A parameter list split only when first asked for: a page calls a few
  // of the built-ins that every parser declares.
  const char* declared_ = nullptr;

 private:
  long position_;
  int line_;
  int outputlevel_;
  int errorlevel_;
  VariableList parameters_;
};

inline const char* ElementName(const Function* f) { return f->chars(); }

typedef void (*BuiltinProc)(Sorn* sorn, VariableTree* parameters, String& result);

class BuiltinFunction : public Function {
 public:
  // A null parameter text declares no parameters at all.
  BuiltinFunction(const char* name, const char* parameters, BuiltinProc proc);
  int CallFunction(ScriptParser* parser, VariableTree* locals, String& result) override;

 private:
  BuiltinProc proc_;
};

#endif
