// The states of the flow-control tags: a conditional, a loop that runs by
// seeking the buffer back, and a held lock file.
#ifndef SORN_SCRIPT_FLOWSTATES_H
#define SORN_SCRIPT_FLOWSTATES_H

#include "script/ScriptState.h"

class File;

class IFState : public ScriptState {
 public:
  IFState(ScriptState* parent, Tag* tag) : ScriptState(parent, tag), closed_(0) {}
  // 3 to run a branch, 2 when the whole body was passed over, 0 on failure.
  int Continue(const String& value);
  int ProcessTag(Tag* tag) override;
  int ExitState() override;

 private:
  int SkipTo(int withelse);
  int closed_;
};

class WHILEState : public ScriptState {
 public:
  WHILEState(ScriptState* parent, Tag* tag, const String& name);
  int Continue();
  int ProcessTag(Tag* tag) override;
  int ExitState() override;

 private:
  // Reads the condition again from the file; 3 true, 2 false, 0 failure.
  int EvaluateExpression();
  int done_;
  long bodyposition_;
  int bodyline_;
  long expressionposition_;
  int expressionline_;
  String name_;
  NamedSlot nameslot_;  // where name_ was found at the last pass
};

class LockFileState : public ScriptState {
 public:
  LockFileState(ScriptState* parent, Tag* tag, const String& display, const String& real);
  ~LockFileState() override;
  int Lock();
  int ProcessTag(Tag* tag) override;
  int ExitState() override;

 private:
  File* file_;
  String displaypath_;
  String realpath_;
};

#endif
