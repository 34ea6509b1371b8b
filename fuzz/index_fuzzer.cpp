// Feeds damaged index files (.snx) to the index classes: open, walks both ways, finds, the checker, an insert
// and a delete.
#include <string>

#include "data/LMTIndexChecker.h"
#include "data/LMTIndexFile.h"
#include "fuzz/FuzzHost.h"

namespace {

// Walks at most `steps` entries; a walk of a damaged file may visit pages
// many times over, which is slow but not wrong.
void Walk(LMTIndexFile& index, bool forward, int steps) {
  long recno = 0;
  int ok = forward ? index._First(&recno, 1) : index._Last(&recno, 1);
  for (int i = 0; ok && recno != 0 && i < steps; i++)
    ok = forward ? index._Next(&recno, 1) : index._Prev(&recno, 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  static char* argv[] = {(char*)"sorn", nullptr};
  static CGISorn sorn(1, argv);
  host.WriteFile("data/f.snx", data, size);
  std::string path = host.root + "/data/f.snx";

  LMTIndexFile index(&sorn);
  if (!index.Open(path.c_str(), "f.snx", FileRead | FileWrite)) return 0;
  Walk(index, true, 2000);
  Walk(index, false, 2000);

  // A key taken from the end of the input, so that finds hit and miss.
  std::string key = size > 6 ? std::string((const char*)data + size - 6, 6).c_str() : "k";
  long recno = 0;
  if (index._Find(key.c_str(), 1, &recno, 1)) index._Next(&recno, 1);
  if (index._Find(key.c_str(), 0, &recno, 1)) index._Prev(&recno, 1);
  index._Seek(key.c_str(), 7, 1);
  LMTIndexChecker checker(&index);
  checker.Check(-1);

  // Updates only where the header's page count is near the file's length:
  // a split writes its new page at numpages, which could lie terabytes out.
  long length = index.file()->Length();
  if (index.ReadHeader() && index.numpages() <= length / index.pagesize() + 4) {
    index.Insert(7, key.c_str());
    index.Delete(7, key.c_str());
    index.Delete(1, "");
    Walk(index, true, 2000);
  }
  return 0;
}
