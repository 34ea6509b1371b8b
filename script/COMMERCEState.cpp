#include "script/COMMERCEState.h"

#include "core/Buffer.h"
#include "script/CommerceHandler.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

COMMERCEState::COMMERCEState(ScriptState* parent, Tag* tag, CommerceHandler* handler)
    : ScriptState(parent, tag),
      position_(parser_->buffer()->CurrentFilePosition()),
      line_(parser_->line()),
      done_(0),
      pushed_(1),
      handler_(handler) {
  parser_->vars()->PushSystemVars(&variables_);
}

COMMERCEState::~COMMERCEState() {
  // A state dropped without ExitState (the script failed) must not leave
  // its frame, which dies with it, on the stack.
  if (pushed_) parser_->vars()->PopSystemVars();
  delete handler_;
}

int COMMERCEState::Continue() {
  switch (handler_->Go(variables_)) {
    case CommerceResultError:
      return RuntimeError(tag_, handler_->error()) == StateFailure ? StateFailure : StateLeave;
    case CommerceResultFinished:
      return StateLeave;
    default:
      return StateHandled;
  }
}

int COMMERCEState::ProcessTag(Tag* tag) {
  if (tag->id() == TagEndSnCOMMERCE) {
    if (handler_->Continue(variables_) == CommerceResultReady) {
      parser_->buffer()->Seek(position_);
      parser_->SetLine(line_);
      return StateHandled;
    }
    // An error after the first result only ends the loop: the page has
    // already shown results, and the library's text stays unreported.
    done_ = 1;
    return StateLeave;
  }
  if (tag->id() == TagSnCOMMERCESTOP) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int COMMERCEState::ExitState() {
  int result = done_ ? StateHandled : SkipBody(parser_);
  if (result == StateHandled) done_ = 1;
  parser_->vars()->PopSystemVars();
  pushed_ = 0;
  return result;
}

int COMMERCEState::SkipBody(ScriptParser* parser) {
  TagTable targets(1);
  targets.Insert(new Tag("SnCOMMERCE", TagSnCOMMERCE, TagEndSnCOMMERCE));
  targets.Insert(new Tag("/SnCOMMERCE", TagEndSnCOMMERCE, 0));
  Tag* found = nullptr;
  int result = parser->FindTag(&found, &targets);
  delete found;
  if (result == ScanEndOfFile) {
    parser->SyntaxError("Unexpected end of file looking for &lt;/SnCOMMERCE&gt;");
    return StateFailure;
  }
  return result == ScanDone ? StateHandled : StateFailure;
}
