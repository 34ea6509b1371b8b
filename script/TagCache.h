// TagCache: tags and loop conditions already read, by file position. The
// text of a tag that holds no macro reads the same every time, so a loop
// body or a function body need not be scanned again: the attribute
// expressions are kept as trees and evaluated afresh at each use, in the
// same order, so a page cannot tell the difference.
#ifndef SORN_SCRIPT_TAGCACHE_H
#define SORN_SCRIPT_TAGCACHE_H

#include <unordered_map>
#include <vector>

#include "core/String.h"

class Expression;
class NameValuePair;
class Tag;

class TagCache {
 public:
  struct Attribute {
    String name;
    String value;            // a literal or tokenized value
    Expression* expression;  // evaluated at each use when not null (owned)
    int setsposition;        // the tag keeps the place of its expression
  };
  struct Entry {
    ~Entry();
    Tag* model;  // the template, owned by the parser's table
    long end;    // the position right behind the tag
    long expressionposition;
    int expressionline;
    std::vector<Attribute> attributes;
    // The instance of the last use, with the template's defaults already
    // added: the next use only rewrites the values, in place. Busy while a
    // use runs, since an attribute's function may come back to this tag.
    Tag* instance = nullptr;
    NameValuePair* cursor = nullptr;  // where the fresh instance's list stood
    int busy = 0;
  };

  TagCache() {}
  ~TagCache();
  TagCache(const TagCache&) = delete;
  TagCache& operator=(const TagCache&) = delete;

  Entry* Find(long position);
  // Takes the entry. An entry already stored stays (a nested use may be
  // running it) and the new one is deleted.
  void Store(long position, Entry* entry);
  Expression* FindCondition(long position);
  // Takes the expression, with the same rule as Store.
  void StoreCondition(long position, Expression* expression);

 private:
  std::unordered_map<long, Entry*> tags_;
  std::unordered_map<long, Expression*> conditions_;
};

#endif
