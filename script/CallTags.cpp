// SnCALL and the older CALL: the tag, and the state that walks the reply.
#include "core/Buffer.h"
#include "script/CALLState.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

int ScriptState::ProcessSnCALL(Tag* tag) {
  // The older tag has no template, so its required attributes are checked here.
  NameValuePair* action = tag->Find("ACTION");
  if (action == nullptr) {
    parser_->SyntaxError(*tag + " requires the ACTION attribute to be specified");
    return StateFailure;
  }
  NameValuePair* method = tag->Find("METHOD");
  if (method == nullptr) {
    parser_->SyntaxError(*tag + " requires the METHOD attribute to be specified");
    return StateFailure;
  }
  String files = tag->Value("FILES");
  if (!files.empty() && !method->value.matches("POST") && !method->value.matches("PUT")) {
    parser_->SyntaxError(
        *tag + " requires the METHOD attribute to be 'POST' or 'PUT' when the FILES attribute is specified");
    return StateFailure;
  }
  CALLState* state = new CALLState(this, tag);
  int result = state->Continue(method->value, action->value, tag->Value("FIELDS"), files);
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  // The walk is over before it began: the body is skipped and the script
  // goes on behind the closing tag.
  if (result != StateFailure) result = state->ExitState();
  delete state;
  return result;
}

CALLState::CALLState(ScriptState* parent, Tag* tag)
    : ScriptState(parent, tag),
      finished_(0),
      pushed_(1),
      bodyposition_(parser_->buffer()->CurrentFilePosition()),
      bodyline_(parser_->line()),
      call_(parser_) {
  parser_->vars()->PushSystemVars(&call_.variables());
}

// A state dropped without its exit step (a failure, or the scan ending
// inside a function body) must not leave its frame among the variables.
CALLState::~CALLState() { PopVariables(); }

void CALLState::PopVariables() {
  if (pushed_) parser_->vars()->PopSystemVars();
  pushed_ = 0;
}

int CALLState::Continue(const String& method, const String& url, const String& fields, const String& files) {
  if (call_.Connect(method, url, fields, files) != 0) return RuntimeError(tag_, call_.error());
  int result = call_.FindNextElement();
  if (result == CallFailed) return RuntimeError(tag_, call_.error());
  return result == CallEnd ? StateLeave : StateHandled;
}

int CALLState::ProcessTag(Tag* tag) {
  if (tag->id() == tag_->closingid()) {
    switch (call_.FindNextElement()) {
      case CallElement:
        parser_->buffer()->Seek(bodyposition_);
        parser_->SetLine(bodyline_);
        return StateHandled;
      case CallEnd:
        finished_ = 1;
        return StateLeave;
      default:
        // The closing tag has been read, so the script goes on behind it
        // when the error is not fatal.
        finished_ = 1;
        if (RuntimeError(tag_, call_.error()) == StateFailure) return StateFailure;
        return StateLeave;
    }
  }
  if (tag->id() == TagSnCALLSTOP && tag_->id() == TagSnCALL) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int CALLState::ExitState() {
  int result = StateHandled;
  if (!finished_) {
    int legacy = tag_->id() == TagCALL;
    TagTable targets(1);
    targets.Insert(new Tag(legacy ? "CALL" : "SnCALL", legacy ? TagCALL : TagSnCALL,
                           legacy ? TagEndCALL : TagEndSnCALL));
    targets.Insert(new Tag(legacy ? "/CALL" : "/SnCALL", legacy ? TagEndCALL : TagEndSnCALL, 0));
    Tag* found = nullptr;
    int scan = parser_->FindTag(&found, &targets);
    delete found;
    if (scan == ScanEndOfFile)
      parser_->SyntaxError(legacy ? "Unexpected end of file looking for &lt;/CALL&gt;"
                                  : "Unexpected end of file looking for &lt;/SnCALL&gt;");
    if (scan != ScanDone) result = StateFailure;
    finished_ = 1;
  }
  PopVariables();
  return result;
}
