// A CGI host for the request tests: the body comes from memory in pieces of
// a chosen size, headers from a table, output goes to a string, and data
// paths lie in a fresh temporary directory.
#ifndef SORN_TESTS_HOST_TESTHOST_H
#define SORN_TESTS_HOST_TESTHOST_H

#include <dirent.h>
#include <unistd.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "core/Output.h"
#include "host/CGISorn.h"
#include "host/UNIXConfig.h"
#include "script/Variables.h"

class TestHost : public CGISorn {
 public:
  explicit TestHost(std::string body = "", int chunk = 1 << 20, int argc = 1, char** argv = nullptr)
      : CGISorn(argc, argv ? argv : defaultargv_), body_(std::move(body)), chunk_(chunk), out_(64) {
    headerssent_ = 1;  // errors go straight into the page
    char pattern[] = "/tmp/sorn-host-test-XXXXXX";
    directory_ = mkdtemp(pattern) ? pattern : "/nonexistent";
  }
  ~TestHost() override {
    for (const std::string& name : Files()) unlink((directory_ + "/" + name).c_str());
    rmdir(directory_.c_str());
  }

  int ReadContent(char* buffer, int size) override {
    reads_++;
    int count = std::min({size, chunk_, (int)(body_.size() - offset_)});
    if (fail_ || count <= 0) return fail_ ? -1 : 0;
    memcpy(buffer, body_.data() + offset_, count);
    offset_ += count;
    return count;
  }
  String RequestHeader(const String& name) override { return headers_[name.chars()].c_str(); }
  Config* config() override { return &config_; }
  Output* output() override { return &out_; }
  int ResolvePath(const String& path, String& result, PathType, String&) override {
    result = (directory_ + "/" + path.chars()).c_str();
    return 1;
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    if (DIR* dir = opendir(directory_.c_str())) {
      while (struct dirent* entry = readdir(dir))
        if (entry->d_name[0] != '.') names.push_back(entry->d_name);
      closedir(dir);
    }
    return names;
  }
  std::string text() {
    out_.Flush();
    return out_.string().chars();
  }
  std::string value(const char* name) { return vars()->Value(name).chars(); }
  std::string sysvar(const char* name) { return vars()->GetSystemVariableValue(name).chars(); }
  bool has(const char* name) { return vars()->Find(name) != nullptr; }

  std::map<std::string, std::string> headers_;
  UNIXConfig config_{this, 0};
  std::string body_;
  size_t offset_ = 0;
  int chunk_;
  int reads_ = 0;
  bool fail_ = false;
  std::string directory_;

 private:
  static inline char* defaultargv_[2] = {(char*)"sorn", nullptr};
  StringOutput out_;
};

#endif
