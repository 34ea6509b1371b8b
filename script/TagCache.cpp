#include "script/TagCache.h"

#include "script/Expression.h"
#include "script/Tag.h"

TagCache::Entry::~Entry() {
  for (Attribute& a : attributes) delete a.expression;
  delete instance;
}

TagCache::~TagCache() {
  for (auto& t : tags_) delete t.second;
  for (auto& c : conditions_) delete c.second;
}

TagCache::Entry* TagCache::Find(long position) {
  auto it = tags_.find(position);
  return it == tags_.end() ? nullptr : it->second;
}

void TagCache::Store(long position, Entry* entry) {
  if (!tags_.emplace(position, entry).second) delete entry;
}

Expression* TagCache::FindCondition(long position) {
  auto it = conditions_.find(position);
  return it == conditions_.end() ? nullptr : it->second;
}

void TagCache::StoreCondition(long position, Expression* expression) {
  if (!conditions_.emplace(position, expression).second) delete expression;
}
