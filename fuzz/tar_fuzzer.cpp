// Feeds any bytes to sorn_package_extract as a package's tar archive; aborts if a name leaves the site.
#include <dirent.h>
#include <ftw.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/FuzzHost.h"
#include "script/Builtins.h"
#include "script/Variable.h"

namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

// Names directly in a directory other than the one allowed, or -1 when it
// cannot be read.
int Strangers(const std::string& directory, const char* const* allowed) {
  DIR* dir = opendir(directory.c_str());
  if (dir == nullptr) return -1;
  int count = 0;
  while (struct dirent* entry = readdir(dir)) {
    bool known = strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0;
    for (const char* const* a = allowed; *a != nullptr; a++) known = known || strcmp(entry->d_name, *a) == 0;
    if (!known) count++;
  }
  closedir(dir);
  return count;
}

void FixChecksums(std::string& archive) {
  for (size_t at = 0; at + 512 <= archive.size();) {
    unsigned char* block = (unsigned char*)&archive[at];
    memset(block + 148, ' ', 8);
    unsigned long sum = 0;
    for (int i = 0; i < 512; i++) sum += block[i];
    snprintf((char*)block + 148, 8, "%06lo", sum & 0777777);
    char field[13];
    memcpy(field, block + 124, 12);
    field[12] = '\0';
    long length = strtol(field, nullptr, 8);
    if (length < 0 || (size_t)length > archive.size()) break;
    at += 512 + (size_t)(length + 511) / 512 * 512;
  }
}

struct Site {
  Site() : host(FuzzHost::Get()) {
    host.WriteFile("site/t.sn", nullptr, 0);
    host.WriteConfiguration("packages=p\n<PACKAGE CODE=p NAME=n DESCRIPTION=d VERSION=1 PATH=\"" + host.root +
                            "/a.tar\">\n");
    char* argv[] = {(char*)host.program.c_str(), nullptr};
    sorn = new CGISorn(1, argv);
    String path, name;
    ready = sorn->LoadConfiguration() && sorn->CheckConfiguration() &&
            sorn->GetScriptInformation(path, name) && sorn->ProcessConfiguration(path, name);
  }
  FuzzHost& host;
  CGISorn* sorn;
  int ready;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Site site;
  if (!site.ready) abort();
  if (size < 1) return 0;
  // With the first byte odd the headers get their checksums, as the reader
  // will find them; random bytes would almost never pass that test.
  std::string archive((const char*)data + 1, size - 1);
  if (data[0] & 1) FixChecksums(archive);
  site.host.WriteFile("a.tar", (const uint8_t*)archive.data(), archive.size());

  VariableTree parameters(1);
  parameters.Insert(new Variable("code", "p"));
  parameters.Insert(new Variable("directory", "x"));
  parameters.Insert(new Variable("reserved", ""));
  String result;
  bi_sorn_package_extract(site.sorn, &parameters, result);

  // Entries may land anywhere in the site, and nowhere else.
  static const char* const kRoot[] = {"a.tar", "data", "site", "sorn.conf", nullptr};
  static const char* const kNothing[] = {nullptr};
  if (Strangers(site.host.root, kRoot) != 0 || Strangers(site.host.root + "/data", kNothing) != 0) abort();
  static const char* const kScript[] = {"t.sn", nullptr};
  if (Strangers(site.host.root + "/site", kScript) != 0) {
    std::string site_dir = site.host.root + "/site";
    nftw(site_dir.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
    mkdir(site_dir.c_str(), 0700);
    site.host.WriteFile("site/t.sn", nullptr, 0);
  }
  return 0;
}
