// Script functions and modules: declarations, calls as nested scans,
// forward declarations found by scanning ahead, and SnDO.
#include <cstdio>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
#include "core/Config.h"
#include "script/ErrorHandler.h"
#include "script/Expression.h"
#include "script/Module.h"
#include "script/ScriptParser.h"
#include "script/ScriptState.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

namespace {

// The state of a running call: where to go back to, and what to restore.
class FunctionState : public ScriptState {
 public:
  FunctionState(ScriptState* parent, Function* function, VariableTree* locals)
      : ScriptState(parent, nullptr),
        returnposition_(parser_->buffer()->CurrentFilePosition()),
        returnline_(parser_->line()),
        outputlevel_(FunctionKeepsOutputLevel),
        errorlevel_(FunctionKeepsErrorLevel) {
    parser_->buffer()->Seek(function->position());
    parser_->SetLine(function->line());
    if (function->outputlevel() != FunctionKeepsOutputLevel)
      outputlevel_ = parser_->SetStandardOutputLevel(function->outputlevel());
    if (function->errorlevel() != FunctionKeepsErrorLevel)
      errorlevel_ = parser_->SetErrorOutputLevel(function->errorlevel());
    parser_->vars()->PushLocalVars(locals);
  }

  int ProcessTag(Tag* tag) override {
    switch (tag->id()) {
      case TagEndSnFUNCTION:
        parser_->functionreturn() = String();
        return StateLeave;
      case TagSnFUNCRETURN:
        parser_->functionreturn() = tag->Value("VALUE");
        return StateLeave;
      case TagSnFUNCTION:
        parser_->SyntaxError("Nested function declarations are not supported");
        return StateFailure;
      default:
        return ScriptState::ProcessTag(tag);
    }
  }

  // Restores without looking at the markers: a function declared without
  // levels leaves 255 and the default error level behind it.
  int ExitState() override {
    parser_->buffer()->Seek(returnposition_);
    parser_->SetLine(returnline_);
    parser_->SetStandardOutputLevel(outputlevel_);
    parser_->SetErrorOutputLevel(errorlevel_);
    parser_->vars()->PopLocalVars();
    return StateHandled;
  }

 private:
  long returnposition_;
  int returnline_;
  int outputlevel_;
  int errorlevel_;
};

}  // namespace

int ScriptState::ProcessSnFUNCTION(Tag* tag) {
  String name = tag->Value("NAME");
  Function* function = parser_->FindFunction(name);
  long position = parser_->buffer()->CurrentFilePosition();
  if (function != nullptr) {
    if (function->position() != position) {
      if (function->line() != 0)
        parser_->SyntaxError("A function with the name '" + name + "' has already been declared, on line " +
                             Decimal(function->line()));
      else
        parser_->SyntaxError("Function '" + name + "' has the same name as a built-in function");
      return StateFailure;
    }
  } else {
    int outputlevel = FunctionKeepsOutputLevel, errorlevel = FunctionKeepsErrorLevel;
    NameValuePair* p;
    if ((p = tag->Find("STANDARDOUTPUTLEVEL")) != nullptr)
      outputlevel = ScriptParser::StandardOutputLevelValue(p->value);
    if ((p = tag->Find("ERROROUTPUTLEVEL")) != nullptr) errorlevel = ScriptParser::ErrorOutputLevelValue(p->value);
    function = new Function(name, position, parser_->line(), outputlevel, errorlevel);
    function->SetParameters(tag->Value("PARAMETERS"));
    parser_->AddFunction(function);
  }
  TagTable targets(1);
  targets.Insert(new Tag("/SnFUNCTION", TagEndSnFUNCTION, 0));
  Tag* found = nullptr;
  int result = parser_->FindTag(&found, &targets);
  delete found;
  if (result == ScanEndOfFile) {
    parser_->SyntaxError("Unexpected end of file looking for &lt;/SnFUNCTION&gt;");
    return StateFailure;
  }
  return result == ScanDone ? StateHandled : StateFailure;
}

int ScriptParser::ScanForFunction(const String& name) {
  int line = line_;
  long position = buffer_->CurrentFilePosition();
  TagTable targets(1);
  targets.Insert(new Tag("SnFUNCTION", TagSnFUNCTION, 0));
  Tag* model = FindTemplate("SnFUNCTION");
  int result;
  for (;;) {
    Tag* found = nullptr;
    result = FindTag(&found, &targets);
    if (result != ScanDone) break;
    if (!ValidateTag(model, found) || !basestate_->ProcessTag(found)) {
      delete found;
      result = ScanFailure;
      break;
    }
    bool hit = found->Value("NAME").matches(name);
    delete found;
    if (hit) break;
  }
  line_ = line;
  buffer_->Seek(position);
  return result == ScanDone || result == ScanEndOfFile ? result : ScanFailure;
}

int ScriptParser::PushFunctionCall() {
  depth_++;
  int maximum = sorn_->config()->maxfunctiondepth;
  if (maximum < depth_) {
    ::RuntimeError error(buffer_->name(), line_, "",
                         "The maximum number of nested function calls (" + Decimal(maximum) +
                             ") has been exceeded");
    errorhandler_->Error(ErrorLevelCallDepth, error);
    return 0;
  }
  return 1;
}

int ScriptParser::CallFunction(Function* function, VariableTree* locals, String& result) {
  if (!PushFunctionCall()) return 0;
  ScriptState* caller = states_.Top();
  FunctionState* state = new FunctionState(caller, function, locals);
  functionreturn_ = String();
  states_.Push(state);
  int status;
  do {
    status = FindNextTag();
  } while (status == ScanContinue && states_.Top() != caller);
  if (states_.Top() != caller) {
    // The scan ended inside the body: drop what the call pushed, unexited.
    for (ScriptState* top = states_.Top(); top != nullptr && top != caller && top != basestate_;
         top = states_.Top()) {
      states_.Pop();
      if (top == state) vars_->PopLocalVars();
      delete top;
    }
  }
  if (status != ScanEndOfFile && status != ScanStop && status != ScanFailure) status = ScanDone;
  if (status == ScanDone) {
    if (!functionreturn_.empty())
      result = functionreturn_;
    else
      result = String();
  }
  PopFunctionCall();
  return status;
}

int ScriptState::ProcessSnDO(Tag* tag) {
  NameValuePair* name = tag->Find("NAME");
  NameValuePair* value = tag->Find("VALUE");
  if (value != nullptr && name == nullptr) {
    parser_->SyntaxError(*tag + " requires the NAME attribute to be specified when the VALUE attribute is specified");
    return StateFailure;
  }
  Sorn* sorn = parser_->sorn();
  String error;
  Module* module = sorn->FindModule(tag->Value("FILE"), error);
  if (module == nullptr) return RuntimeError(tag, error);
  if (!parser_->PushFunctionCall()) return StateFailure;
  Module* old = sorn->currentmodule();
  sorn->SetCurrentModule(module);
  int result = StateHandled;
  if (value != nullptr) {
    Expression expression(module->parser());
    String computed;
    if (expression.ReadTokenized(value->value, nullptr, ' ', '\0') == 1 && expression.Resolve(computed))
      parser_->vars()->SetVariable(name->value, computed);
    else
      result = StateFailure;
  } else if (!module->parser()->Parse()) {
    result = StateFailure;
  }
  sorn->SetCurrentModule(old);
  parser_->PopFunctionCall();
  return result;
}
