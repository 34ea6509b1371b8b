#include "host/UploadCallbacks.h"

#include "core/Sorn.h"
#include "script/Function.h"
#include "script/Module.h"
#include "script/ScriptParser.h"
#include "script/Variable.h"

ScriptParser* ScriptUploadCallbacks::parser() {
  Module* module = sorn_->currentmodule();
  return module != nullptr ? module->parser() : nullptr;
}

int ScriptUploadCallbacks::FindFunction(const String& name, int scanahead, int& parameters) {
  parameters = 0;
  ScriptParser* script = parser();
  if (script == nullptr) return 0;
  Function* function = scanahead ? nullptr : script->FindFunction(name);
  if (function == nullptr) {
    // 1 found, 4 end of file, 0 a failure that the scan has reported.
    if (script->ScanForFunction(name) == 0) return -1;
    function = script->FindFunction(name);
  }
  if (function == nullptr) return 0;
  parameters = function->parameters().Entries();
  return 1;
}

int ScriptUploadCallbacks::CallFunction(const String& name, const String* values, int count, String& result) {
  ScriptParser* script = parser();
  Function* function = script != nullptr ? script->FindFunction(name) : nullptr;
  if (function == nullptr) return 0;
  VariableTree locals(1);
  VariableList& declared = function->parameters();
  int i = 0;
  for (Variable* parameter = declared.First(); parameter != nullptr && i < count; parameter = declared.Next())
    locals.SetVariable(parameter->name(), values[i++]);
  return function->CallFunction(script, &locals, result);
}

void ScriptUploadCallbacks::ExpressionError(const String& message) {
  ScriptParser* script = parser();
  if (script != nullptr) script->ExpressionError(message);
}
