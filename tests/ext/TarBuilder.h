// Builds ustar archives byte by byte for the tests that need headers GNU tar
// will not write: names that lead out, negative or huge sizes, signed
// checksums, device entries.
#ifndef SORN_TESTS_EXT_TARBUILDER_H
#define SORN_TESTS_EXT_TARBUILDER_H

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>

struct TarEntry {
  TarEntry(std::string name, char typeflag, std::string data, std::string size = "",
           std::string mode = "0000644", std::string linkname = "")
      : name(std::move(name)),
        typeflag(typeflag),
        data(std::move(data)),
        size(std::move(size)),
        mode(std::move(mode)),
        linkname(std::move(linkname)) {}
  std::string name;
  char typeflag;
  std::string data;
  std::string size;  // octal text; empty means the length of data
  std::string mode;
  std::string linkname;
};

// One header block; signedsum computes the checksum as old archivers did,
// adding the bytes as signed chars.
inline std::string TarHeader(const TarEntry& e, bool signedsum = false) {
  std::string block(512, '\0');
  auto put = [&](size_t offset, size_t length, const std::string& text) {
    memcpy(&block[offset], text.data(), std::min(length, text.size()));
  };
  char size[16];
  snprintf(size, sizeof size, "%011lo", (unsigned long)e.data.size());
  put(0, 100, e.name);
  put(100, 8, e.mode);
  put(108, 8, "0001750");
  put(116, 8, "0001750");
  put(124, 12, e.size.empty() ? size : e.size);
  put(136, 12, "14731606400");
  put(148, 8, "        ");
  block[156] = e.typeflag;
  put(157, 100, e.linkname);
  put(257, 8,
      std::string("ustar\0"
                  "00",
                  8));
  put(265, 32, "user");
  put(297, 32, "group");
  long sum = 0;
  for (char c : block) sum += signedsum ? (long)(signed char)c : (long)(unsigned char)c;
  char checksum[8];
  snprintf(checksum, sizeof checksum, "%06lo", sum);
  memcpy(&block[148], checksum, 7);  // six digits and a NUL, then the blank
  return block;
}

// Header, data padded to whole blocks.
inline std::string TarMember(const TarEntry& e, bool signedsum = false) {
  std::string member = TarHeader(e, signedsum) + e.data;
  member.append((512 - e.data.size() % 512) % 512, '\0');
  return member;
}

inline std::string TarEnd() { return std::string(1024, '\0'); }

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

#endif
