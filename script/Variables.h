// Variables: every named value a script can see, and the one place that
// turns a scoped name into a value.
#ifndef SORN_SCRIPT_VARIABLES_H
#define SORN_SCRIPT_VARIABLES_H

#include "core/Stack.h"
#include "core/String.h"
#include "script/Variable.h"

class Sorn;

class Variables {
 public:
  explicit Variables(Sorn* sorn);
  virtual ~Variables();
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;

  Variable* Find(const String& name);
  String Value(const String& name);
  void SetVariable(const String& name, const String& value);
  void AddGlobalVariable(const String& name, const String& value);
  void AddFormVariable(const String& name, const String& value);
  void AddSystemVariable(const String& name, const String& value);
  void AddSystemVariable(Variable* variable);
  String GetSystemVariableValue(const String& name);

 private:
  Sorn* sorn_;
  VariableTree globals_;
  VariableTree system_;
};

#endif
