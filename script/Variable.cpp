#include "script/Variable.h"

void VariableList::SetVariable(const char* name, const char* value) {
  Variable* v = Find(name);
  if (v != nullptr)
    v->SetValue(value);
  else
    Insert(new Variable(name, value), ListTail);
}

void VariableTree::SetVariable(const char* name, const char* value) {
  Variable* v = Find(name);
  if (v != nullptr)
    v->SetValue(value);
  else
    Insert(new Variable(name, value));
}

void VariableTree::AppendToList(List<Variable>& list) const {
  Walk([&list](Variable* v) { list.Insert(v, ListTail); });
}
