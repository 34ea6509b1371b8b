// COMMERCEState: the loop of SnCOMMERCE. The body runs once for each
// result the handler delivers; the closing tag asks for the next one and
// seeks the script back to the start of the body. The results are the top
// system frame while the loop is open.
#ifndef SORN_SCRIPT_COMMERCESTATE_H
#define SORN_SCRIPT_COMMERCESTATE_H

#include "script/ScriptState.h"
#include "script/Variable.h"

class CommerceHandler;

class COMMERCEState : public ScriptState {
 public:
  // Takes handler over and pushes the result tree as a system frame.
  COMMERCEState(ScriptState* parent, Tag* tag, CommerceHandler* handler);
  // Pops the frame if ExitState did not, and deletes the handler, which
  // cleans up and unloads the library.
  ~COMMERCEState() override;
  // The first result: 3 to run the body, 2 when there is none (also after
  // a non-fatal error), 0 after a fatal one. On 2 the caller runs
  // ExitState, which skips the body.
  int Continue();
  int ProcessTag(Tag* tag) override;
  // Unless the closing tag was read, skips to it; then pops the frame.
  int ExitState() override;

  // Skips a body to the /SnCOMMERCE of its own level: 3, or 0 after the
  // reported error. Also for a tag whose method could not be started.
  static int SkipBody(ScriptParser* parser);

 private:
  long position_;
  int line_;
  int done_;
  int pushed_;
  CommerceHandler* handler_;
  VariableTree variables_;
};

#endif
