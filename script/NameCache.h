// NameCache: what a lookup by name answered (a variable or null), keyed by
// the name with ASCII letters folded, as the variable trees compare names.
// Open addressing with linear probing; Clear costs nothing; the table only grows until it holds
// kMaxEntries names, then starts over, so a script that invents names
// cannot make it large.
#ifndef SORN_SCRIPT_NAMECACHE_H
#define SORN_SCRIPT_NAMECACHE_H

#include <string>
#include <vector>

class Variable;

class NameCache {
 public:
  enum { kMaxEntries = 4096 };

  // The key of a name, worked out once for several caches.
  static unsigned Hash(const char* name);
  // 1 and the remembered answer in *found when name is known.
  int Find(const char* name, unsigned hash, Variable** found) const;
  void Store(const char* name, unsigned hash, Variable* found);
  void Clear();

 private:
  struct Slot {
    std::string name;     // folded
    std::string spelled;  // as first asked for: a script spells a name the same way each time
    unsigned hash = 0;
    unsigned long stamp = 0;  // in use when equal to the cache's stamp
    Variable* found = nullptr;
  };
  static bool Same(const std::string& folded, const char* name);
  void Place(Slot&& slot);

  std::vector<Slot> slots_;
  size_t used_ = 0;
  unsigned long stamp_ = 1;  // a new stamp empties every slot at once
};

#endif
