// Key comparison of the engine's containers: names ignore case (as
// strcasecmp does in the C locale the engine runs in: ASCII letters only),
// numbers compare as such. Inline, and without the C library's locale
// tables, which a request would otherwise fault in for the first name.
#ifndef SORN_CORE_KEYS_H
#define SORN_CORE_KEYS_H

#include <cstddef>

inline int CompareKeys(const char* a, const char* b) {
  for (;; a++, b++) {
    unsigned ca = (unsigned char)*a, cb = (unsigned char)*b;
    if (ca - 'A' < 26u) ca += 'a' - 'A';
    if (cb - 'A' < 26u) cb += 'a' - 'A';
    if (ca != cb || ca == 0) return (int)ca - (int)cb;
  }
}
inline int CompareKeys(int a, int b) { return a < b ? -1 : a > b ? 1 : 0; }
// At most the first n bytes, as strncasecmp compares them.
inline int CompareKeys(const char* a, const char* b, size_t n) {
  for (; n > 0; n--, a++, b++) {
    unsigned ca = (unsigned char)*a, cb = (unsigned char)*b;
    if (ca - 'A' < 26u) ca += 'a' - 'A';
    if (cb - 'A' < 26u) cb += 'a' - 'A';
    if (ca != cb || ca == 0) return (int)ca - (int)cb;
  }
  return 0;
}

#endif
