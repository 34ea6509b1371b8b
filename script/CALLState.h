// CALLState: the loop of SnCALL (and the older CALL): the body runs once
// per element of the reply, by seeking the script back to the start of the
// body at each closing tag.
#ifndef SORN_SCRIPT_CALLSTATE_H
#define SORN_SCRIPT_CALLSTATE_H

#include "script/Call.h"
#include "script/ScriptState.h"

class CALLState : public ScriptState {
 public:
  // Shows the call's variables as a system frame until ExitState or the
  // end of the state.
  CALLState(ScriptState* parent, Tag* tag);
  ~CALLState() override;

  // Sends the request and reads the first element: 3 to run the body, 2
  // when the reply has no element, 1 after a non-fatal error, 0 after a
  // fatal one.
  int Continue(const String& method, const String& url, const String& fields, const String& files);
  int ProcessTag(Tag* tag) override;
  // Skips the rest of the body when the walk did not reach the end; 0 when
  // the closing tag is missing.
  int ExitState() override;

 private:
  void PopVariables();

  int finished_;
  int pushed_;
  long bodyposition_;
  int bodyline_;
  Call call_;
};

#endif
