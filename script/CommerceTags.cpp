// SnCOMMERCE: runs a commerce method as a loop. The handler comes from
// Sorn, which knows how the host loads a method's library.
#include "core/Sorn.h"
#include "script/COMMERCEState.h"
#include "script/CommerceHandler.h"
#include "script/ScriptParser.h"
#include "script/ScriptState.h"
#include "script/Tag.h"

int ScriptState::ProcessSnCOMMERCE(Tag* tag) {
  NameValuePair* method = tag->Find("METHOD");
  if (method == nullptr) method = tag->Find("METAMETHOD");
  if (method == nullptr) {
    parser_->SyntaxError(*tag + " requires the METHOD attribute to be specified");
    return StateFailure;
  }
  String message;
  CommerceHandler* handler = parser_->sorn()->NewCommerceHandler(method->value, parser_, message);
  if (handler == nullptr) {
    if (RuntimeError(tag, message) == StateFailure) return StateFailure;
    return COMMERCEState::SkipBody(parser_) == StateHandled ? StateDone : StateFailure;
  }
  handler->SetAction(tag->Value("ACTION"));
  handler->SetFields(tag->Value("FIELDS"));
  COMMERCEState* state = new COMMERCEState(this, tag, handler);
  int result = state->Continue();
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  if (result != StateFailure) result = state->ExitState();
  delete state;
  return result;
}
