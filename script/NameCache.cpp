#include "script/NameCache.h"

#include <cstring>

#include "core/Keys.h"

unsigned NameCache::Hash(const char* name) {
  unsigned h = 2166136261u;  // FNV-1a
  for (const unsigned char* p = (const unsigned char*)name; *p != 0; p++) h = (h ^ LowerASCII(*p)) * 16777619u;
  return h;
}

bool NameCache::Same(const std::string& folded, const char* name) {
  size_t i = 0;
  for (; name[i] != 0; i++)
    if (i >= folded.size() || (unsigned char)folded[i] != LowerASCII((unsigned char)name[i])) return false;
  return i == folded.size();
}

int NameCache::Find(const char* name, unsigned hash, Variable** found) const {
  if (slots_.empty()) return 0;
  size_t mask = slots_.size() - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    const Slot& slot = slots_[i];
    if (slot.stamp != stamp_) return 0;
    if (slot.hash == hash && (strcmp(slot.spelled.c_str(), name) == 0 || Same(slot.name, name))) {
      *found = slot.found;
      return 1;
    }
  }
}

void NameCache::Store(const char* name, unsigned hash, Variable* found) {
  if (used_ >= kMaxEntries) Clear();
  // At most half full, so that a probe always meets a free slot soon.
  if ((used_ + 1) * 2 > slots_.size()) {
    std::vector<Slot> old;
    old.swap(slots_);
    slots_.resize(old.empty() ? 16 : old.size() * 2);
    used_ = 0;
    for (Slot& slot : old)
      if (slot.stamp == stamp_) Place(std::move(slot));
  }
  Slot slot;
  slot.hash = hash;
  slot.stamp = stamp_;
  slot.found = found;
  slot.spelled = name;
  for (const unsigned char* p = (const unsigned char*)name; *p != 0; p++) slot.name += (char)LowerASCII(*p);
  Place(std::move(slot));
}

void NameCache::Place(Slot&& slot) {
  size_t mask = slots_.size() - 1;
  size_t i = slot.hash & mask;
  while (slots_[i].stamp == stamp_) i = (i + 1) & mask;
  slots_[i] = std::move(slot);
  used_++;
}

void NameCache::Clear() {
  if (used_ == 0) return;
  stamp_++;
  used_ = 0;
}
