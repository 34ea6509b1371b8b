#include "data/LMTIndexChecker.h"

#include <cstring>
#include <memory>
#include <unordered_set>

#include "core/File.h"
#include "data/LMTIndexFile.h"

void LMTIndexChecker::Problem(const String& text) {
  if (problems_.size() < (size_t)kMaxProblems) problems_.push_back(text);
  if (problems_.size() == (size_t)kMaxProblems)
    problems_.back() = "too many problems; the check stopped here";
}

void LMTIndexChecker::CheckEntry(long pagenumber, int i, const char* key, long record, long recordcount) {
  String where = "page " + Decimal(pagenumber) + " entry " + Decimal(i) + ": ";
  entries_++;
  if (record < 1 || (recordcount >= 0 && record > recordcount))
    Problem(where + "record " + Decimal(record) + " is not between 1 and " + Decimal(recordcount));
  if (strlen(key) >= (size_t)index_->keysize()) Problem(where + "the key has no NUL inside its field");
  if (haveprevious_ && LMTIndexFile::Compare(previous_, key, 1, index_->flags()) > 0)
    Problem(where + "key '" + key + "' sorts before the key '" + previous_ + "' in front of it");
  previous_ = key;
  haveprevious_ = true;
  if (collect_ != nullptr) collect_->push_back(Entry{String(key), record});
}

int LMTIndexChecker::Check(long recordcount) {
  problems_.clear();
  haveprevious_ = false;
  entries_ = pages_ = 0;
  depth_ = 0;
  if (!index_->ReadHeader()) {
    Problem(index_->error());
    return (int)problems_.size();
  }
  if (index_->identifier() != "LMTI") Problem("the identifier is not LMTI");
  if (index_->version() >= 4) Problem("version " + Decimal(index_->version()) + " is too new");
  long numpages = index_->numpages();
  long length = index_->file()->Length();
  if (length < 0 || length % index_->pagesize() != 0 || length / index_->pagesize() != numpages)
    Problem("numpages is " + Decimal(numpages) + " but the file is " + Decimal(length) + " bytes long");

  // In-order walk with an explicit path: each frame enters its children in
  // turn, and the key between two children is checked on the way.
  struct Frame {
    std::unique_ptr<LMTIndexPage> page;
    int depth;
    int next;  // the next child slot to enter
  };
  std::vector<Frame> path;
  std::unordered_set<long> seen;
  const int order = index_->order();
  auto enter = [&](long from, int slot, long pagenumber, int depth) {
    String where = from == 0 ? String("the root") : "page " + Decimal(from) + " child " + Decimal(slot);
    if (pagenumber < 1 || pagenumber >= numpages) {
      Problem(where + " is page " + Decimal(pagenumber) + ", outside 1 to " + Decimal(numpages - 1));
      return;
    }
    if (!seen.insert(pagenumber).second) {
      Problem(where + " is page " + Decimal(pagenumber) + ", which is reached twice");
      return;
    }
    LMTIndexPage* page = index_->ReadPage(pagenumber);
    if (page == nullptr) {
      Problem(where + ": " + index_->error());
      return;
    }
    pages_++;
    int n = page->numentries();
    String name = "page " + Decimal(pagenumber) + ": ";
    if (n > order) Problem(name + Decimal(n) + " entries, more than the order " + Decimal(order));
    if (from != 0 && n < order / 2 - 1)
      Problem(name + Decimal(n) + " entries, fewer than " + Decimal(order / 2 - 1));
    bool leaf = page->childpage(0) == 0;
    if (from == 0 && n == 0 && !leaf) Problem(name + "an empty root with a child");
    for (int j = 0; j <= n; j++)
      if ((page->childpage(j) == 0) != leaf)
        Problem(name + "child " + Decimal(j) + " is " + Decimal(page->childpage(j)) + " in a " +
                (leaf ? "leaf" : "inner page"));
    if (leaf && depth_ == 0) depth_ = depth;
    if (leaf && depth != depth_)
      Problem(name + "a leaf at depth " + Decimal(depth) + ", others are at " + Decimal(depth_));
    path.push_back(Frame{std::unique_ptr<LMTIndexPage>(page), depth, 0});
  };

  enter(0, 0, index_->startingpage(), 1);
  while (!path.empty() && problems_.size() < (size_t)kMaxProblems) {
    Frame& frame = path.back();
    LMTIndexPage* page = frame.page.get();
    int n = page->numentries();
    if (frame.next > n) {
      path.pop_back();
      continue;
    }
    int slot = frame.next++;
    if (slot > 0)
      CheckEntry(page->pagenumber(), slot - 1, page->key(slot - 1), page->recordnum(slot - 1), recordcount);
    long child = page->childpage(slot);
    if (child != 0) enter(page->pagenumber(), slot, child, frame.depth + 1);
  }
  return (int)problems_.size();
}
