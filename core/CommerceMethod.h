// CommerceMethod: a method name bound to the shared library that carries it
// out, declared by a COMMERCE-LIB tag of the configuration. Sorn keeps them
// in declaration order, found by name ignoring case.
#ifndef SORN_CORE_COMMERCEMETHOD_H
#define SORN_CORE_COMMERCEMETHOD_H

#include "core/String.h"

class CommerceMethod {
 public:
  CommerceMethod(const String& name, const String& library) : name(name), library(library) {}

  String name;
  String library;  // a path for dlopen, trusted as it comes from the configuration
};

inline const char* ElementName(const CommerceMethod* method) { return method->name.chars(); }

#endif
