// Feeds a table file and its memo file (the input split where its first two bytes say) to the table reader.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "data/XBaseTable.h"
#include "host/CGISorn.h"

namespace {

struct Scratch {
  Scratch() : sorn(0, nullptr) {
    char pattern[] = "/tmp/sorn-fuzz-table-XXXXXX";
    dir = mkdtemp(pattern);
  }
  void Write(const std::string& name, const uint8_t* data, size_t size) {
    FILE* f = fopen((dir + "/" + name).c_str(), "wb");
    if (f == nullptr) return;
    if (size > 0) fwrite(data, 1, size, f);
    fclose(f);
  }
  CGISorn sorn;
  std::string dir;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Scratch scratch;
  if (size < 2) return 0;
  // The first two bytes give the length of the table file; the rest after
  // it is the memo file.
  size_t split = (size_t)(data[0] | data[1] << 8);
  data += 2;
  size -= 2;
  if (split > size) split = size;
  scratch.Write("t.dbf", data, split);
  scratch.Write("t.dbt", data + split, size - split);

  XBaseTable table(&scratch.sorn);
  std::string path = scratch.dir + "/t.dbf";
  if (!table.Open(path.c_str(), "t.dbf", XBaseTable::kOpenMode)) return 0;
  // A count far beyond the file would only repeat the same failing read.
  unsigned long count = table.recordcount() < 512 ? table.recordcount() : 512;
  for (unsigned long r = 1; r <= count; r++) {
    if (!table.Goto((long)r)) continue;
    for (XBaseField* f = table.fields()->First(); f; f = table.fields()->Next()) f->data();
    table.SwapOriginal();
    table.SwapOriginal();
  }
  return 0;
}
