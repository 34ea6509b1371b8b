// A fresh directory under /tmp for one test, removed with all it holds;
// names are relative to it unless they start with '/'.
#ifndef SORN_TESTS_HOST_SCRATCHDIR_H
#define SORN_TESTS_HOST_SCRATCHDIR_H

#include <ftw.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/sorn-test-XXXXXX";
    root_ = mkdtemp(pattern) ? pattern : "/nonexistent";
  }
  ~ScratchDir() { nftw(root_.c_str(), Remove, 16, FTW_DEPTH | FTW_PHYS); }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string P(const std::string& rel) const { return rel[0] == '/' ? rel : root_ + "/" + rel; }
  void MakeDir(const std::string& rel, mode_t mode = 0700) const { mkdir(P(rel).c_str(), mode); }
  void Write(const std::string& rel, const std::string& bytes = "") const {
    if (FILE* f = fopen(P(rel).c_str(), "wb")) {
      fwrite(bytes.data(), 1, bytes.size(), f);
      fclose(f);
    }
  }
  // "<missing>" when the file cannot be opened.
  std::string Read(const std::string& rel) const {
    FILE* f = fopen(P(rel).c_str(), "rb");
    if (f == nullptr) return "<missing>";
    std::string bytes;
    char block[4096];
    for (size_t n; (n = fread(block, 1, sizeof block, f)) > 0;) bytes.append(block, n);
    fclose(f);
    return bytes;
  }

  std::string root_;

 private:
  static int Remove(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }
};

#endif
