// Variables: every named value a script can see, and the one place that
// turns a scoped name into a value.
//
// Names carry their scope: "l." / "local.", "g." / "global.", "s." /
// "system.", "d." / "database." (all open databases) and "view.d.field" /
// "view.database.field" (the field of one view). An unscoped name is looked
// up in the system frames (top first), the top local frame, the open
// databases and finally the global tree.
#ifndef SORN_SCRIPT_VARIABLES_H
#define SORN_SCRIPT_VARIABLES_H

#include "core/Stack.h"
#include "core/String.h"
#include "script/NameCache.h"
#include "script/Variable.h"

class Sorn;

// Where an unscoped name was found, kept by the one who looks it up again
// and again (an expression's variable): valid as long as the system frames
// and the global tree are unchanged, at top level with no database open.
struct VariableSlot {
  Variable* variable = nullptr;
  unsigned long system = 0;  // 0: never filled
  unsigned long global = 0;
};

// A slot together with the name it was filled for.
struct NamedSlot {
  String name;
  VariableSlot slot;
};

enum VariableScope {
  LocalScope = 0,
  GlobalScope = 1,
  SystemScope = 2,
  DatabaseScope = 3,
  NoScope = 4
};

class Variables {
 public:
  explicit Variables(Sorn* sorn);
  virtual ~Variables();
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;

  // Splits name into its scope (the result), the variable name and, for
  // "view.d.field", the view alias. Both outputs are upper case.
  static int Scope(const String& name, String& variable, String& database);

  // The variable a name refers to, or null. Never creates anything.
  Variable* Find(const String& name);
  // The same for a name without a scope prefix, through a slot of the caller's.
  Variable* Find(const String& name, VariableSlot* slot);
  // A copy of the value; empty when the variable does not exist.
  String Value(const String& name);
  // Assigns by the rules of the name's scope. Local and global names are
  // created when missing, and so is an unscoped name that is found nowhere
  // (as a global); system and database names never are. Returns 1 when
  // the value was stored, 0 when the assignment was dropped or refused
  // (a dynamic variable keeps its reason in its error()).
  int SetVariable(const String& name, const String& value);
  // The same, finding an existing unscoped variable through a slot of the
  // caller's when the name is the one the slot was filled for.
  int SetVariable(const String& name, const String& value, NamedSlot* slot);

  // Inserts without looking: a later add of the same name is found first.
  void AddGlobalVariable(const String& name, const String& value);
  // Appends ",value" to an existing global, or adds a new one.
  void AddFormVariable(const String& name, const String& value);
  // Insert into the base system tree; the second takes ownership.
  void AddSystemVariable(const String& name, const String& value);
  void AddSystemVariable(Variable* variable);
  // Looks only in the base system tree; empty when absent.
  String GetSystemVariableValue(const String& name);

  // Frames stay their pusher's; a pop returns the frame it removed, or
  // null when there is none (the base system tree is never popped).
  void PushLocalVars(VariableTree* frame);
  VariableTree* PopLocalVars();
  void PushSystemVars(VariableTree* frame);
  VariableTree* PopSystemVars();
  // The top local frame, or null at top level.
  VariableTree* localframe();

  // Append, in name order, to a list that must not own its elements:
  // the global tree; every system frame from the top down to the base;
  // the top local frame, or the global tree when there is none.
  void GetGlobalVariableList(VariableList& list);
  void GetSystemVariableList(VariableList& list);
  void GetLocalVariableList(VariableList& list);

  VariableTree& globals() { return globals_; }
  VariableTree& systemvariables() { return system_; }

 private:
  Variable* FindSystem(const String& variable);
  Variable* FindSystem(const String& variable, unsigned hash);
  Variable* SearchSystem(const String& variable);
  Variable* FindGlobal(const String& variable, unsigned hash);
  // Whether the answers remembered since the last change still stand.
  int RemembersSystem();
  int RemembersGlobal();
  Variable* FindLocal(const String& variable);
  Variable* FindDatabase(const String& variable, const String& database);
  // The search of an unscoped name, the global tree last.
  Variable* FindUnscoped(const String& variable);
  int DatabasesOpen();

  Sorn* sorn_;
  VariableTree globals_;
  VariableTree system_;
  Stack<VariableTree> locals_;
  Stack<VariableTree> systemframes_;

  // What the system frames and the global tree answered for a name (a
  // variable, or null for nothing), as long as they are unchanged: every
  // insert into or dump of one of their trees, and every push or pop of a
  // system frame, counts a change. Nearly every unscoped name is looked
  // for in the system frames first and not found. A tree holding duplicate
  // names is never skipped, since the lookups of other names decide which
  // duplicate it gives. A local frame is small and is searched each time;
  // so are the open databases, whose views come and go on their own.
  NameCache systemfound_;
  unsigned long systemchanges_ = 1;
  unsigned long systemfoundat_ = 0;
  int systemremembers_ = 0;
  NameCache globalfound_;
  unsigned long globalchanges_ = 1;
  unsigned long globalfoundat_ = 0;
};

#endif
