#include "script/Variables.h"

Variables::Variables(Sorn* sorn) : sorn_(sorn), globals_(1), system_(1) {}

Variables::~Variables() {}

Variable* Variables::Find(const String& name) {
  Variable* v = system_.Find(name);
  if (v == nullptr) v = globals_.Find(name);
  return v;
}

String Variables::Value(const String& name) {
  Variable* v = Find(name);
  return v ? v->value() : String();
}

void Variables::SetVariable(const String& name, const String& value) {
  Variable* v = Find(name);
  if (v != nullptr)
    v->SetValue(value);
  else
    globals_.SetVariable(name.upper(), value);
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

void Variables::AddSystemVariable(Variable* variable) { system_.Insert(variable); }

String Variables::GetSystemVariableValue(const String& name) {
  Variable* v = system_.Find(name);
  return v ? v->value() : String();
}
