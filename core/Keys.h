// Names and characters as the C locale, the engine's only one, has them:
// ASCII letters alone fold and class, inline, without a library call or the
// C library's locale tables, which a request would otherwise fault in for
// its first name. CompareKeys is the key comparison of the containers:
// names ignore case as strcasecmp does, numbers compare as such.
#ifndef SORN_CORE_KEYS_H
#define SORN_CORE_KEYS_H

#include <cstddef>

inline int UpperASCII(int c) { return (unsigned)(c - 'a') < 26u ? c - ('a' - 'A') : c; }
inline int LowerASCII(int c) { return (unsigned)(c - 'A') < 26u ? c + ('a' - 'A') : c; }
inline bool IsDigitASCII(int c) { return (unsigned)(c - '0') < 10u; }
inline bool IsAlphaASCII(int c) { return (unsigned)(LowerASCII(c) - 'a') < 26u; }
inline bool IsAlnumASCII(int c) { return IsDigitASCII(c) || IsAlphaASCII(c); }

// At most the first n bytes, as strncasecmp compares them.
inline int CompareKeys(const char* a, const char* b, size_t n) {
  for (; n > 0; n--, a++, b++) {
    int ca = LowerASCII((unsigned char)*a), cb = LowerASCII((unsigned char)*b);
    if (ca != cb || ca == 0) return ca - cb;
  }
  return 0;
}
inline int CompareKeys(const char* a, const char* b) { return CompareKeys(a, b, (size_t)-1); }
inline int CompareKeys(int a, int b) { return a < b ? -1 : a > b ? 1 : 0; }

#endif
