#include "script/Function.h"

#include "script/ScriptParser.h"

Function::Function(const String& name, long position, int line, int outputlevel, int errorlevel)
    : String(name), position_(position), line_(line), outputlevel_(outputlevel), errorlevel_(errorlevel),
      parameters_(1) {}

int Function::CallFunction(ScriptParser* parser, VariableTree* locals, String& result) {
  return parser->CallFunction(this, locals, result) == 1 ? 1 : 0;
}

void Function::SetParameters(const String& list) {
  String item;
  for (int at = 0; NextPiece(list, ',', at, item);) {
    item.StripWhitespace();
    parameters_.Insert(new Variable(item, ""), ListTail);
  }
}

BuiltinFunction::BuiltinFunction(const char* name, const char* parameters, BuiltinProc proc)
    : Function(name, 0, 0, FunctionKeepsOutputLevel, FunctionKeepsErrorLevel), proc_(proc) {
  declared_ = parameters;  // the library's table outlives every parser
}

int BuiltinFunction::CallFunction(ScriptParser* parser, VariableTree* locals, String& result) {
  proc_(parser->sorn(), locals, result);
  return 1;
}
