// NameValuePair: an attribute's name, its value and a mark that the tag
// scanner sets.
#ifndef SORN_CORE_NAMEVALUEPAIR_H
#define SORN_CORE_NAMEVALUEPAIR_H

#include "core/List.h"
#include "core/String.h"

class NameValuePair {
 public:
  NameValuePair(const String& name, const String& value, int mark = 0)
      : name(name), value(value), mark(mark) {}
  NameValuePair(const NameValuePair& other) = default;

  // Strips the value; when it starts with a double quote, drops it, drops a
  // closing quote that has no backslash before it, and unescapes \".
  void RemoveQuotes();

  String name;
  String value;
  int mark;
};

inline const char* ElementName(const NameValuePair* p) { return p->name.chars(); }

typedef SearchableList<NameValuePair> NameValueList;

#endif
