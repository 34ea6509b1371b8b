// LMTIndexChecker: walks the whole tree of an open index file and verifies
// what every operation relies on: a sane header, numpages equal to the
// file's length over pagesize, every page reached once, keys in order
// inside and across pages, every page but the root filled to at least
// order / 2 - 1 entries and none above order, all leaves at one depth, and
// record numbers within the table's record count. Each problem found is one
// line of text; the file is only read.
#ifndef SORN_DATA_LMTINDEXCHECKER_H
#define SORN_DATA_LMTINDEXCHECKER_H

#include <vector>

#include "core/String.h"

class LMTIndexFile;

class LMTIndexChecker {
 public:
  // No more lines than this are kept; a file damaged throughout would
  // otherwise give one per entry.
  enum { kMaxProblems = 1000 };

  // One entry of the tree as the walk met it.
  struct Entry {
    String key;
    long record;
  };

  explicit LMTIndexChecker(LMTIndexFile* index) : index_(index) {}

  // When given, Check appends every entry it walks past, in tree order, so
  // that a caller can hold the keys against the table.
  void CollectEntries(std::vector<Entry>* entries) { collect_ = entries; }

  // Checks the tree; record numbers must lie in 1 to recordcount, or just
  // be nonzero when recordcount is negative. Returns the number of
  // problems, 0 for a sound file.
  int Check(long recordcount);

  const std::vector<String>& problems() const { return problems_; }
  // Entries, pages and levels of the tree as far as it could be walked.
  long entries() const { return entries_; }
  long pages() const { return pages_; }
  int depth() const { return depth_; }

 private:
  void Problem(const String& text);
  void CheckEntry(long pagenumber, int i, const char* key, long record, long recordcount);

  LMTIndexFile* index_;
  std::vector<Entry>* collect_ = nullptr;
  std::vector<String> problems_;
  String previous_;
  bool haveprevious_ = false;
  long entries_ = 0;
  long pages_ = 0;
  int depth_ = 0;
};

#endif
