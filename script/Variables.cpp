#include "script/Variables.h"

#include <cstring>

#include "core/Sorn.h"
#include "core/Database.h"

namespace {

// The scope a prefix (already upper case) names; NoScope for any other.
int PrefixScope(const String& prefix) {
  if (prefix == "L" || prefix == "LOCAL") return LocalScope;
  if (prefix == "G" || prefix == "GLOBAL") return GlobalScope;
  if (prefix == "S" || prefix == "SYSTEM") return SystemScope;
  if (prefix == "D" || prefix == "DATABASE") return DatabaseScope;
  return NoScope;
}

// Splits at the first marker: before into database, after into variable.
bool SplitAt(const String& name, const char* marker, String& variable, String& database) {
  int at = name.search(marker);
  if (at < 0) return false;
  database = name.before(at);
  variable = name.from(at + (int)strlen(marker));
  return true;
}

}  // namespace

Variables::Variables(Sorn* sorn) : sorn_(sorn), globals_(1), system_(1), locals_(0), systemframes_(0) {
  systemframes_.Push(&system_);
  system_.Watch(&systemchanges_);
  globals_.Watch(&globalchanges_);
}

Variables::~Variables() {
  // The frames belong to their pushers; only the nodes go.
  locals_.Dump();
  systemframes_.Dump();
}

int Variables::Scope(const String& name, String& variable, String& database) {
  database = "";
  if (!name.contains('.')) {  // the common case: no prefix can apply
    variable = name;
    variable.upcase();
    return NoScope;
  }
  String copy = name.upper();
  variable = "";
  if (SplitAt(copy, ".D.", variable, database)) return DatabaseScope;
  if (SplitAt(copy, ".DATABASE.", variable, database)) return DatabaseScope;
  char first = copy.empty() ? 0 : copy[0];
  int dot = copy.search(".");
  if ((first != 'L' && first != 'G' && first != 'D' && first != 'S') || dot < 0) {
    variable = copy;
    return NoScope;
  }
  // Any prefix that starts with one of those letters is dropped, even when
  // it names no scope: "DOG.X" is "X", while "CAT.X" stays whole above.
  variable = copy.from(dot + 1);
  return PrefixScope(copy.before(dot));
}

int Variables::RemembersSystem() {
#ifdef SORN_NO_CACHES
  return 0;
#else
  if (systemfoundat_ != systemchanges_) {
    systemfound_.Clear();
    systemfoundat_ = systemchanges_;
    systemremembers_ = 1;
    for (VariableTree* frame = systemframes_.Top(); frame != nullptr; frame = systemframes_.Peek())
      if (frame->duplicates()) systemremembers_ = 0;
  }
  return systemremembers_;
#endif
}

int Variables::RemembersGlobal() {
#ifdef SORN_NO_CACHES
  return 0;
#else
  if (globalfoundat_ != globalchanges_) {
    globalfound_.Clear();
    globalfoundat_ = globalchanges_;
  }
  return !globals_.duplicates();
#endif
}

Variable* Variables::FindSystem(const String& variable) {
  return FindSystem(variable, RemembersSystem() ? NameCache::Hash(variable.chars()) : 0);
}

// The answer remembered for name, or the search's, then remembered.
template <class Search>
static Variable* Recall(NameCache& cache, const String& name, unsigned hash, Search search) {
  Variable* v = nullptr;
  if (cache.Find(name.chars(), hash, &v)) return v;
  v = search();
  cache.Store(name.chars(), hash, v);
  return v;
}

Variable* Variables::FindSystem(const String& variable, unsigned hash) {
  if (!RemembersSystem()) return SearchSystem(variable);
  return Recall(systemfound_, variable, hash, [&] { return SearchSystem(variable); });
}

Variable* Variables::FindGlobal(const String& variable, unsigned hash) {
  if (!RemembersGlobal()) return globals_.Find(variable);
  return Recall(globalfound_, variable, hash, [&] { return globals_.Find(variable); });
}

Variable* Variables::SearchSystem(const String& variable) {
  for (VariableTree* frame = systemframes_.Top(); frame != nullptr; frame = systemframes_.Peek()) {
    Variable* v = frame->Find(variable);
    if (v != nullptr) return v;
  }
  return nullptr;
}

Variable* Variables::FindLocal(const String& variable) {
  VariableTree* frame = locals_.Top();
  return frame != nullptr ? frame->Find(variable) : globals_.Find(variable);
}

Variable* Variables::FindDatabase(const String& variable, const String& database) {
  if (sorn_ == nullptr) return nullptr;
  if (database.empty() && !DatabasesOpen()) return nullptr;
  if (!database.empty()) {
    DatabaseView* view = sorn_->FindDatabaseView(database);
    return view != nullptr ? view->Find(variable) : nullptr;
  }
  SearchableList<Database>* databases = sorn_->databases();
  if (databases == nullptr) return nullptr;
  // The cursors of these lists belong to their other users: restore them.
  Database* dbcursor = databases->Current();
  Variable* found = nullptr;
  for (Database* db = databases->First(); db != nullptr && found == nullptr; db = databases->Next()) {
    SearchableList<DatabaseView>* views = db->views();
    if (views == nullptr) continue;
    DatabaseView* viewcursor = views->Current();
    for (DatabaseView* view = views->First(); view != nullptr && found == nullptr; view = views->Next())
      found = view->Find(variable);
    views->Seek(viewcursor);
  }
  databases->Seek(dbcursor);
  return found;
}

Variable* Variables::FindUnscoped(const String& variable) {
  unsigned hash = NameCache::Hash(variable.chars());
  Variable* v = FindSystem(variable, hash);
  if (v == nullptr) {
    VariableTree* frame = locals_.Top();
    if (frame != nullptr) v = frame->Find(variable);
  }
  if (v == nullptr) v = FindDatabase(variable, String());
  if (v == nullptr) v = FindGlobal(variable, hash);
  return v;
}

int Variables::DatabasesOpen() {
  if (sorn_ == nullptr) return 0;
  SearchableList<Database>* databases = sorn_->databases();
  return databases != nullptr && !databases->empty();
}

Variable* Variables::Find(const String& name, VariableSlot* slot) {
#ifndef SORN_NO_CACHES
  if (slot->system == systemchanges_ && slot->global == globalchanges_ && locals_.Top() == nullptr &&
      !DatabasesOpen())
    return slot->variable;
  Variable* v = FindUnscoped(name);
  // The lookup went through both caches: they stand for the trees as they are.
  if (locals_.Top() == nullptr && !DatabasesOpen() && RemembersSystem() && RemembersGlobal()) {
    slot->variable = v;
    slot->system = systemchanges_;
    slot->global = globalchanges_;
  }
  return v;
#else
  (void)slot;
  return FindUnscoped(name);
#endif
}

Variable* Variables::Find(const String& name) {
  // Lookups ignore case, so a name without a prefix needs no copy.
  if (!name.contains('.')) return FindUnscoped(name);
  String variable, database;
  switch (Scope(name, variable, database)) {
    case LocalScope: return FindLocal(variable);
    case GlobalScope: return globals_.Find(variable);
    case SystemScope: return FindSystem(variable);
    case DatabaseScope: return FindDatabase(variable, database);
    default: return FindUnscoped(variable);
  }
}

String Variables::Value(const String& name) {
  Variable* v = Find(name);
  return v != nullptr ? String(v->value()) : String();
}

int Variables::SetVariable(const String& name, const String& value) {
  Variable* v = nullptr;
  if (!name.contains('.')) {
    v = FindUnscoped(name);
    if (v != nullptr) return v->SetValue(value);
  }
  String variable, database;
  switch (Scope(name, variable, database)) {
    case LocalScope: {
      VariableTree* frame = locals_.Top();
      v = frame != nullptr ? frame->Find(variable) : globals_.Find(variable);
      if (v == nullptr) {
        (frame != nullptr ? frame : &globals_)->Insert(new Variable(variable, value));
        return 1;
      }
      break;
    }
    case GlobalScope:
      v = globals_.Find(variable);
      if (v == nullptr) {
        globals_.Insert(new Variable(variable, value));
        return 1;
      }
      break;
    case SystemScope:
      v = FindSystem(variable);
      break;
    case DatabaseScope:
      v = FindDatabase(variable, database);
      break;
    default:
      v = FindUnscoped(variable);
      if (v == nullptr) {
        globals_.Insert(new Variable(variable, value));
        return 1;
      }
      break;
  }
  return v != nullptr ? v->SetValue(value) : 0;
}

int Variables::SetVariable(const String& name, const String& value, NamedSlot* slot) {
  if (slot != nullptr && !name.contains('.')) {
    if (slot->name.length() != name.length() || memcmp(slot->name.chars(), name.chars(), name.length()) != 0) {
      slot->name = name;
      slot->slot = VariableSlot();
    }
    Variable* v = Find(name, &slot->slot);
    if (v != nullptr) return v->SetValue(value);
  }
  return SetVariable(name, value);
}

void Variables::AddGlobalVariable(const String& name, const String& value) {
  globals_.Insert(new Variable(name, value));
}

void Variables::AddFormVariable(const String& name, const String& value) {
  Variable* v = globals_.Find(name);
  if (v != nullptr)
    v->SetValue(v->value() + "," + value);
  else
    globals_.Insert(new Variable(name, value));
}

void Variables::AddSystemVariable(const String& name, const String& value) {
  system_.Insert(new Variable(name, value));
}

void Variables::AddSystemVariable(Variable* variable) {
  if (variable != nullptr) system_.Insert(variable);
}

String Variables::GetSystemVariableValue(const String& name) {
  Variable* v = system_.Find(name);
  return v != nullptr ? String(v->value()) : String();
}

void Variables::PushLocalVars(VariableTree* frame) {
  if (frame != nullptr) locals_.Push(frame);
}

VariableTree* Variables::PopLocalVars() {
  // Top resets the cursor, so that Pop takes exactly one frame.
  if (locals_.Top() == nullptr) return nullptr;
  return locals_.Pop();
}

void Variables::PushSystemVars(VariableTree* frame) {
  if (frame == nullptr) return;
  systemframes_.Push(frame);
  frame->Watch(&systemchanges_);
  systemchanges_++;
}

VariableTree* Variables::PopSystemVars() {
  if (systemframes_.Top() == &system_) return nullptr;
  VariableTree* frame = systemframes_.Pop();
  if (frame != nullptr) frame->Unwatch();
  systemchanges_++;
  return frame;
}

VariableTree* Variables::localframe() { return locals_.Top(); }

void Variables::GetGlobalVariableList(VariableList& list) { globals_.AppendToList(list); }

void Variables::GetSystemVariableList(VariableList& list) {
  for (VariableTree* frame = systemframes_.Top(); frame != nullptr; frame = systemframes_.Peek())
    frame->AppendToList(list);
}

void Variables::GetLocalVariableList(VariableList& list) {
  VariableTree* frame = locals_.Top();
  (frame != nullptr ? frame : &globals_)->AppendToList(list);
}
