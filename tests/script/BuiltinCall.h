// Calls one built-in by its script name, with positional arguments bound to
// the declared parameter names as an expression would bind them.
#ifndef SORN_TESTS_SCRIPT_BUILTINCALL_H
#define SORN_TESTS_SCRIPT_BUILTINCALL_H

#include <strings.h>

#include <string>
#include <vector>

#include "script/Builtins.h"

inline const BuiltinDescriptor* FindBuiltin(const char* name) {
  int count;
  const BuiltinDescriptor* table = BuiltinTable(&count);
  for (int i = 0; i < count; i++)
    if (strcasecmp(table[i].name, name) == 0) return &table[i];
  return nullptr;
}

inline std::string CallBuiltin(Sorn* sorn, const char* name, const std::vector<std::string>& args) {
  const BuiltinDescriptor* d = FindBuiltin(name);
  if (d == nullptr) return "<unknown>";
  BuiltinFunction f(d->name, d->parameters, d->proc);
  VariableTree locals(1);
  Variable* p = f.parameters().First();
  for (const std::string& a : args) {
    if (p == nullptr) return "<too many>";
    // Inserted directly, so that a NUL byte inside a value survives.
    locals.Insert(new Variable(p->name(), String(a.data(), (int)a.size())));
    p = f.parameters().Next();
  }
  if (p != nullptr) return "<too few>";
  String result;
  d->proc(sorn, &locals, result);
  return std::string(result.chars(), result.length());
}

#endif
