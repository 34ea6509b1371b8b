#include "data/LMTIndexFile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/FileManager.h"
#include "core/Sorn.h"

namespace {

// Only plain decimal text counts as a number, whatever else the C
// library's strtod would read (infinities, NaN, hexadecimal): files must
// sort the same on every platform.
bool PlainDecimal(const char* s) {
  while (isspace((unsigned char)*s)) s++;
  if (*s == '+' || *s == '-') s++;
  bool digits = false;
  while (isdigit((unsigned char)*s)) s++, digits = true;
  if (*s == '.') {
    s++;
    while (isdigit((unsigned char)*s)) s++, digits = true;
  }
  if (!digits) return false;
  if (*s == 'e' || *s == 'E') {
    s++;
    if (*s == '+' || *s == '-') s++;
    if (!isdigit((unsigned char)*s)) return false;
    while (isdigit((unsigned char)*s)) s++;
  }
  return *s == 0;
}

// False when the text is not a number; an empty text is 0.
bool ParseNumber(const char* s, double* value) {
  if (*s == 0) {
    *value = 0;
    return true;
  }
  if (!PlainDecimal(s)) return false;
  errno = 0;
  *value = strtod(s, nullptr);
  return !((*value == HUGE_VAL || *value == -HUGE_VAL) && errno == ERANGE);
}

}  // namespace

LMTIndexFile::LMTIndexFile(Sorn* sorn)
    : sorn_(sorn),
      file_(nullptr),
      cursorupdatecount_(0),
      walkdirection_(WalkNone),
      walkpushes_(0),
      pagesread_(0),
      updatereads_(0) {
  memset(header_, 0, sizeof header_);
}

LMTIndexFile::~LMTIndexFile() { Close(); }

// ---- Comparison ----

int LMTIndexFile::NumberCompare(const char* a, const char* b) {
  double x, y;
  if (!ParseNumber(a, &x) || !ParseNumber(b, &y)) return -2;
  return x == y ? 0 : (x > y ? 1 : -1);
}

int LMTIndexFile::Compare(const char* a, const char* b, int exact, long flags) {
  int r;
  if (exact == 0) {
    r = strncmp(a, b, strlen(a));
  } else {
    r = -2;
    if (!(flags & LMTIndexString)) r = NumberCompare(a, b);
    if (r == -2) r = strcmp(a, b);
  }
  r = r < 0 ? -1 : (r > 0 ? 1 : 0);
  return (flags & LMTIndexDescending) ? -r : r;
}

// ---- Header ----

String LMTIndexFile::identifier() const { return String((const char*)header_, 4); }

String LMTIndexFile::keyexpression() const {
  const char* text = (const char*)header_ + 27;
  int n = 0;
  while (n < kKeyExpressionSize && text[n] != 0) n++;
  return String(text, n);
}

void LMTIndexFile::SetIdentifier(const char* identifier) {
  size_t n = strlen(identifier);
  memset(header_, 0, 4);
  memcpy(header_, identifier, n < 4 ? n : 4);
}

void LMTIndexFile::SetKeyExpression(const String& expression) {
  int n = expression.length() < kKeyExpressionSize ? expression.length() : kKeyExpressionSize;
  memset(header_ + 27, 0, kKeyExpressionSize);
  memcpy(header_ + 27, expression.chars(), n);
}

// Pages are laid out from keyrecordsize and pagesize and filled up to
// `order`: the key field must hold at least its NUL, and a page holding
// order entries must still have room for its last child.
bool LMTIndexFile::GeometryUsable() const {
  int krs = keyrecordsize();
  if (krs < 9 || pagesize() < 4) return false;
  int most = (pagesize() - 4) / krs;
  return order() >= 2 && order() <= most - 1;
}

void LMTIndexFile::ReadError() { error_ = "Error reading from '" + displayname_ + "': " + file_->error(); }

void LMTIndexFile::CorruptError() { error_ = "Error reading from '" + displayname_ + "': File is corrupt"; }

int LMTIndexFile::ReadHeaderBytes() {
  memset(header_, 0, sizeof header_);
  if (file_->Seek(0) < 0 || file_->Read((char*)header_, kHeaderSize) < 0) {
    ReadError();
    return 0;
  }
  return 1;
}

int LMTIndexFile::ReadHeader() {
  if (file_ == nullptr) {
    error_ = "Internal error opening '" + displayname_ + "'";
    return 0;
  }
  if (!ReadHeaderBytes()) return 0;
  if (!GeometryUsable()) {
    error_ = "'" + displayname_ + "' is either corrupt or is not a valid index file";
    return 0;
  }
  return 1;
}

int LMTIndexFile::WriteHeader() {
  int n = -1;
  if (file_->Seek(0) >= 0) n = file_->Write((const char*)header_, kHeaderSize);
  if (n != kHeaderSize) {
    if (n >= 0) file_->Error("Short write");
    error_ = "Error writing to '" + displayname_ + "': " + file_->error();
    return 0;
  }
  return 1;
}

LMTIndexPage* LMTIndexFile::ReadPage(long pagenumber) {
  if (pagenumber > numpages()) {
    CorruptError();
    return nullptr;
  }
  LMTIndexPage* page = new LMTIndexPage(pagenumber, keyrecordsize(), pagesize());
  pagesread_++;
  if (!page->ReadPage(file_)) {
    ReadError();
    delete page;
    return nullptr;
  }
  return page;
}

int LMTIndexFile::WritePage(LMTIndexPage* page) {
  if (!page->WritePage(file_)) {
    error_ = "Error writing to '" + displayname_ + "': " + file_->error();
    return 0;
  }
  return 1;
}

String LMTIndexFile::CutKey(const char* key) const {
  String cut(key);
  if (cut.length() > keysize() - 1) cut.truncate(keysize() - 1);
  return cut;
}

int LMTIndexFile::LockHeader(FileLockType type) {
  if (file_->Lock(type, 0, kHeaderSize) == 0) return 1;
  error_ = "Error locking '" + displayname_ + (type == FileLockShared ? "' for read" : "' for write");
  return 0;
}

void LMTIndexFile::ReleaseHeader() { file_->Release(0, kHeaderSize); }

// ---- Open, create, close ----

int LMTIndexFile::Open(const String& path, const String& displayname, int mode) {
  Close();
  path_ = path;
  displayname_ = displayname;
  FileManager* files = sorn_->filemanager();
  file_ = files->Open(path, mode);
  if (file_ == nullptr) {
    error_ = "Error opening '" + displayname_ + "': " + files->error();
    return 0;
  }
  if (!LockHeader(FileLockShared)) {
    Close();
    return 0;
  }
  int ok = ReadHeaderBytes();
  if (ok && memcmp(header_, "LMTI", 4) != 0) {
    error_ = "'" + displayname_ + "' is either corrupt or is not a valid index file";
    ok = 0;
  } else if (ok && version() >= 4) {
    error_ = "'" + displayname_ + "' was created by a newer version of the software";
    ok = 0;
  } else if (ok && !GeometryUsable()) {
    error_ = "'" + displayname_ + "' is either corrupt or is not a valid index file";
    ok = 0;
  }
  ReleaseHeader();
  if (!ok) Close();
  return ok;
}

int LMTIndexFile::Create(const String& path, const String& displayname, const String& keyexpression,
                         long flags) {
  Close();
  displayname_ = displayname;
  FileManager* files = sorn_->filemanager();
  File* file = files->Open(path, FileRead | FileWrite | FileCreate | FileTruncate);
  if (file == nullptr) {
    error_ = "Error creating '" + displayname_ + "': " + files->error();
    return 0;
  }
  return Create(file, path, displayname, keyexpression, flags);
}

int LMTIndexFile::Create(File* file, const String& path, const String& displayname,
                         const String& keyexpression, long flags) {
  Close();
  path_ = path;
  displayname_ = displayname;
  if (file == nullptr) {
    error_ = "Internal error opening '" + displayname_ + "'";
    return 0;
  }
  file_ = file;
  memset(header_, 0, sizeof header_);
  SetIdentifier("LMTI");
  SetVersion(kVersion);
  SetUpdateCount(0);
  SetNumPages(2);
  SetStartingPage(1);
  SetOrder(kOrder);
  SetPageSize(kPageSize);
  SetKeyRecordSize(kKeyRecordSize);
  SetFlags(flags);
  SetKeyExpression(keyexpression);
  LMTIndexPage root(1, kKeyRecordSize, kPageSize);
  if (!WriteHeader() || !WritePage(&root)) {
    Close();
    return 0;
  }
  return 1;
}

int LMTIndexFile::Close() {
  stack_.Dump();
  delete file_;
  file_ = nullptr;
  return 1;
}

// ---- Cursor ----

void LMTIndexFile::StartWalk(WalkDirection direction) {
  if (direction != walkdirection_) walkpushes_ = 0;
  walkdirection_ = direction;
}

int LMTIndexFile::PushPage(long pagenumber) {
  if (stack_.CheckForRecursion(pagenumber)) {
    CorruptError();
    return 0;
  }
  if (walkdirection_ != WalkNone && ++walkpushes_ > numpages()) {
    CorruptError();
    return 0;
  }
  LMTIndexPage* page = ReadPage(pagenumber);
  if (page == nullptr) return 0;
  stack_.Push(page);
  return 1;
}

void LMTIndexFile::DropTop() {
  stack_.Top();
  delete stack_.Pop();
}

int LMTIndexFile::_Find(const char* key, int exact, long* recno, int lock) {
  *recno = 0;
  stack_.Dump();
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 0;
  int result = DoFind(key, exact, recno);
  if (lock) ReleaseHeader();
  return result;
}

int LMTIndexFile::DoFind(const char* key, int exact, long* recno) {
  *recno = 0;
  stack_.Dump();
  StartWalk(WalkNone);
  if (!ReadHeader()) return 0;
  String cut = CutKey(key);
  if (!PushPage(startingpage())) return 0;
  LMTIndexPage* candidate = nullptr;
  LMTIndexPage* page = stack_.Top();
  for (;;) {
    bool finished = false;
    page->SetCurrent(0);
    while (page->current() < page->numentries()) {
      int r = Compare(cut, page->key(page->current()), exact, flags());
      if (r < 0) break;
      if (r == 0) {
        candidate = page;
        *recno = page->recordnum(page->current());
        finished = exact != 0 && (flags() & LMTIndexUnique) != 0;
        break;
      }
      page->SetCurrent(page->current() + 1);
    }
    long child = page->childpage(page->current());
    if (finished || child == 0) break;
    if (!PushPage(child)) {
      *recno = 0;
      return 0;
    }
    page = stack_.Top();
  }
  cursorupdatecount_ = updatecount();
  // A hit is followed down its left child for the leftmost equal key; when
  // nothing below matched, the cursor goes back to the hit.
  if (candidate != nullptr && candidate != stack_.Top()) {
    LMTIndexPage* p = stack_.Top();
    while (p != candidate) p = stack_.Peek();
    stack_.Push(stack_.Pop());
  }
  return 1;
}

int LMTIndexFile::_Seek(const char* key, long recno, int lock, long* found) {
  long here = 0;
  if (found != nullptr) *found = 0;
  stack_.Dump();
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 0;
  int result = DoSeek(key, recno, &here);
  if (lock) ReleaseHeader();
  if (found != nullptr) *found = here;
  return result;
}

int LMTIndexFile::DoSeek(const char* key, long recno, long* found) {
  if (!DoFind(key, 1, found)) return 0;
  while (*found != 0 && *found != recno)
    if (!DoNext(found)) return 0;
  return 1;
}

// Another update since the path was built may have moved every page of it:
// find the entry the cursor stood on again.
int LMTIndexFile::Reseek() {
  LMTIndexPage* page = stack_.Top();
  long record = page->recordnum(page->current());
  String key(page->key(page->current()));
  long found = 0;
  return DoSeek(key, record, &found);
}

int LMTIndexFile::_First(long* recno, int lock) {
  *recno = 0;
  stack_.Dump();
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 1;
  int result = DoFirst(recno);
  if (lock) ReleaseHeader();
  return result;
}

int LMTIndexFile::DoFirst(long* recno) {
  StartWalk(WalkNone);
  if (!ReadHeader() || !PushPage(startingpage())) return 0;
  cursorupdatecount_ = updatecount();
  LMTIndexPage* page = stack_.Top();
  if (page->numentries() == 0) return 1;
  while (page->childpage(0) != 0) {
    if (!PushPage(page->childpage(0))) return 0;
    page = stack_.Top();
  }
  *recno = page->recordnum(0);
  return 1;
}

int LMTIndexFile::_Last(long* recno, int lock) {
  *recno = 0;
  stack_.Dump();
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 1;
  int result = DoLast(recno);
  if (lock) ReleaseHeader();
  return result;
}

int LMTIndexFile::DoLast(long* recno) {
  StartWalk(WalkNone);
  if (!ReadHeader() || !PushPage(startingpage())) return 0;
  cursorupdatecount_ = updatecount();
  if (stack_.Top()->numentries() == 0) return 1;
  return DescendLast(recno);
}

// From the top page, whose current says which child to test, down the last
// children to the greatest key. A page whose test child is set but whose
// last child is 0 sends the walk to page 0, which fails to read as a page.
int LMTIndexFile::DescendLast(long* recno) {
  LMTIndexPage* page = stack_.Top();
  while (page->childpage(page->current()) != 0) {
    page->SetCurrent(page->numentries());
    if (!PushPage(page->childpage(page->current()))) {
      *recno = 0;
      return 0;
    }
    page = stack_.Top();
  }
  page->SetCurrent(page->numentries() - 1);
  *recno = page->recordnum(page->current());
  return 1;
}

int LMTIndexFile::_Next(long* recno, int lock) {
  *recno = 0;
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 1;
  int result = DoNext(recno);
  if (lock) ReleaseHeader();
  return result;
}

int LMTIndexFile::DoNext(long* recno) {
  *recno = 0;
  LMTIndexPage* page = stack_.Top();
  if (!ReadHeader()) return 0;
  if (page != nullptr && updatecount() != cursorupdatecount_) {
    if (!Reseek()) return 0;
    page = stack_.Top();
  }
  StartWalk(WalkForward);
  if (page == nullptr) return 1;
  page->SetCurrent(page->current() + 1);
  if (page->current() >= page->numentries() && page->childpage(page->numentries()) == 0) {
    for (;;) {
      DropTop();
      page = stack_.Top();
      if (page == nullptr) return 1;
      if (page->current() < page->numentries()) {
        *recno = page->recordnum(page->current());
        return 1;
      }
    }
  }
  while (page->childpage(page->current()) != 0) {
    if (!PushPage(page->childpage(page->current()))) {
      *recno = 0;
      return 0;
    }
    page = stack_.Top();
  }
  *recno = page->recordnum(page->current());
  return 1;
}

int LMTIndexFile::_Prev(long* recno, int lock) {
  *recno = 0;
  if (file_ == nullptr) return ReadHeader();
  if (lock && !LockHeader(FileLockShared)) return 1;
  int result = DoPrev(recno);
  if (lock) ReleaseHeader();
  return result;
}

int LMTIndexFile::DoPrev(long* recno) {
  *recno = 0;
  LMTIndexPage* page = stack_.Top();
  if (!ReadHeader()) return 0;
  if (page != nullptr && updatecount() != cursorupdatecount_) {
    if (!Reseek()) return 0;
    page = stack_.Top();
  }
  StartWalk(WalkBackward);
  if (page == nullptr) return 1;
  if (page->childpage(page->current()) == 0) {
    page->SetCurrent(page->current() - 1);
    if (page->current() >= 0) {
      *recno = page->recordnum(page->current());
      return 1;
    }
    for (;;) {
      DropTop();
      page = stack_.Top();
      if (page == nullptr) return 1;
      if (page->current() > 0) {
        page->SetCurrent(page->current() - 1);
        *recno = page->recordnum(page->current());
        return 1;
      }
    }
  }
  if (!PushPage(page->childpage(page->current()))) return 0;
  return DescendLast(recno);
}

// ---- Insert ----

int LMTIndexFile::Insert(long record, const char* key) {
  if (file_ == nullptr) return ReadHeader();
  if (!LockHeader(FileLockExclusive)) return 0;
  int result = InsertLocked(record, key);
  ReleaseHeader();
  return result;
}

int LMTIndexFile::InsertLocked(long record, const char* key) {
  if (!ReadHeader()) return 0;
  String cut = CutKey(key);
  updatepath_.clear();
  updatereads_ = 0;
  long child = 0, outrecord = 0;
  String outkey;
  int r = DoInsert(startingpage(), record, cut, &child, &outrecord, outkey);
  if (r == InsertFailed) return 0;
  if (r == InsertPromote) {
    LMTIndexPage root(numpages(), keyrecordsize(), pagesize());
    root.SetNumEntries(1);
    root.SetChildPage(0, startingpage());
    root.SetRecordNum(0, outrecord);
    root.SetKey(0, outkey);
    root.SetChildPage(1, child);
    SetNumPages(numpages() + 1);
    SetStartingPage(root.pagenumber());
    if (!WritePage(&root)) return 0;
  }
  SetUpdateCount(updatecount() + 1);
  return WriteHeader();
}

// A child page that is already on the way down, a way down deeper than any
// tree gets, or more pages than the file has, can only come from a damaged
// file.
LMTIndexPage* LMTIndexFile::ReadChild(long pagenumber) {
  if (updatepath_.size() >= (size_t)kMaxDepth || ++updatereads_ > numpages() ||
      std::find(updatepath_.begin(), updatepath_.end(), pagenumber) != updatepath_.end()) {
    CorruptError();
    return nullptr;
  }
  return ReadPage(pagenumber);
}

int LMTIndexFile::DoInsert(long pagenumber, long record, const String& key, long* outchild, long* outrecord,
                           String& outkey) {
  if (pagenumber == 0) {
    *outchild = 0;
    *outrecord = record;
    outkey = key;
    return InsertPromote;
  }
  std::unique_ptr<LMTIndexPage> page(ReadChild(pagenumber));
  if (!page) return InsertFailed;
  int i = 0;
  for (; i < page->numentries(); i++) {
    int r = Compare(key, page->key(i), 1, flags());
    if (r > 0) continue;
    if (r == 0 && (flags() & LMTIndexUnique)) {
      error_ = "Index '" + displayname_ + "' was created with the UNIQUE flag and the key '" + key +
               "' already exists in the index file";
      return InsertFailed;
    }
    break;
  }
  long child = 0, promoted = 0;
  String promotedkey;
  updatepath_.push_back(pagenumber);
  int r = DoInsert(page->childpage(i), record, key, &child, &promoted, promotedkey);
  updatepath_.pop_back();
  if (r != InsertPromote) return r;
  if (page->numentries() < order()) {
    page->Insert(i, child, promoted, promotedkey);
    return WritePage(page.get()) ? InsertDone : InsertFailed;
  }
  LMTIndexPage right(numpages(), keyrecordsize(), pagesize());
  *outchild = right.pagenumber();
  SetNumPages(numpages() + 1);
  if (!WriteHeader()) return InsertFailed;
  Split(i, page.get(), &right, child, promoted, promotedkey, outrecord, outkey);
  if (!WritePage(page.get()) || !WritePage(&right)) return InsertFailed;
  return InsertPromote;
}

// The full page and the new entry make one entry too many: the lower half
// stays, the middle entry goes up, the upper half goes to `right`.
int LMTIndexFile::Split(int at, LMTIndexPage* left, LMTIndexPage* right, long child, long record,
                        const String& key, long* outrecord, String& outkey) {
  LMTIndexPage work(left->pagenumber(), keyrecordsize(), pagesize() + keyrecordsize());
  work.CopyEntries(*left, 0, left->numentries());
  work.Insert(at, child, record, key);
  int n = work.numentries();
  int mid = n - n / 2 - 1;
  left->CopyEntries(work, 0, mid);
  *outrecord = work.recordnum(mid);
  outkey = work.key(mid);
  right->CopyEntries(work, mid + 1, n - mid - 1);
  return 1;
}

// ---- Delete ----

int LMTIndexFile::Delete(long record, const char* key) {
  if (file_ == nullptr) return ReadHeader();
  if (!LockHeader(FileLockExclusive)) return 0;
  int result = DeleteLocked(record, key);
  ReleaseHeader();
  return result;
}

int LMTIndexFile::DeleteLocked(long record, const char* key) {
  if (!ReadHeader()) return 0;
  String cut = CutKey(key);
  updatepath_.clear();
  updatereads_ = 0;
  std::unique_ptr<LMTIndexPage> root(ReadPage(startingpage()));
  if (!root) return 0;
  int r = DoDelete(DeleteSearching, nullptr, root.get(), record, cut);
  if (r == DeleteFailed) return 0;
  if (r == DeleteNotFound) {
    error_ = "Record is not in index";
    return 0;
  }
  SetUpdateCount(updatecount() + 1);
  return WriteHeader();
}

int LMTIndexFile::DoDelete(int state, LMTIndexPage* keypage, LMTIndexPage* page, long record,
                           const String& key) {
  updatepath_.push_back(page->pagenumber());
  int r = state == DeleteSuccessor ? DeleteSuccessorStep(keypage, page) : DeleteSearch(page, record, key);
  updatepath_.pop_back();
  return r;
}

// Recurses into child `slot` of page and rebalances it when it underflowed.
int LMTIndexFile::DeleteBelow(int state, LMTIndexPage* keypage, LMTIndexPage* page, int slot, long record,
                              const String& key) {
  std::unique_ptr<LMTIndexPage> child(ReadChild(page->childpage(slot)));
  if (!child) return DeleteFailed;
  int r = DoDelete(state, keypage, child.get(), record, key);
  return r == DeleteUnderflow ? HandleUnderflow(page, child.get()) : r;
}

int LMTIndexFile::DeleteSearch(LMTIndexPage* page, long record, const String& key) {
  // Equal keys may spread over neighbouring subtrees, so a miss below goes
  // on to the right until the entry with this record turns up.
  page->SetCurrent(0);
  for (;;) {
    if (page->current() > page->numentries()) return DeleteNotFound;
    bool found = false;
    while (page->current() < page->numentries()) {
      int c = Compare(key, page->key(page->current()), 1, flags());
      if (c < 0) break;
      if (c == 0) {
        found = page->recordnum(page->current()) == record;
        break;
      }
      page->SetCurrent(page->current() + 1);
    }
    if (found) break;
    if (page->childpage(page->current()) != 0) {
      int r = DeleteBelow(DeleteSearching, nullptr, page, page->current(), record, key);
      if (r != DeleteNotFound) return r;
    }
    page->SetCurrent(page->current() + 1);
  }
  if (page->childpage(page->current()) != 0)
    return DeleteBelow(DeleteSuccessor, page, page, page->current() + 1, record, key);
  page->Delete(page->current());
  if (!IsRoot(page) && Underflowed(page)) return DeleteUnderflow;
  return WritePage(page) ? DeleteDone : DeleteFailed;
}

// Down the left edge of the subtree behind the entry being deleted: its
// smallest key takes that entry's place in keypage.
int LMTIndexFile::DeleteSuccessorStep(LMTIndexPage* keypage, LMTIndexPage* page) {
  page->SetCurrent(0);
  if (page->childpage(0) != 0) return DeleteBelow(DeleteSuccessor, keypage, page, 0, 0, String());
  keypage->SetKey(keypage->current(), page->key(0));
  keypage->SetRecordNum(keypage->current(), page->recordnum(0));
  if (!WritePage(keypage)) return DeleteFailed;
  page->Delete(0);
  if (Underflowed(page)) return DeleteUnderflow;
  return WritePage(page) ? DeleteDone : DeleteFailed;
}

int LMTIndexFile::HandleUnderflow(LMTIndexPage* parent, LMTIndexPage* child) {
  int n = parent->numentries();
  int i = parent->current();
  if (parent->childpage(i) != child->pagenumber()) {
    for (i = 0; i <= n && parent->childpage(i) != child->pagenumber(); i++) {
    }
    if (i > n) {
      CorruptError();
      return DeleteFailed;
    }
  }
  std::unique_ptr<LMTIndexPage> left, right;
  if (i > 0) {
    left.reset(ReadPage(parent->childpage(i - 1)));
    if (!left) return DeleteFailed;
  }
  if (i < n) {
    right.reset(ReadPage(parent->childpage(i + 1)));
    if (!right) return DeleteFailed;
  }
  int half = order() / 2;
  if (left && left->numentries() >= half)
    return Redistribute(left.get(), parent, i - 1, child) ? DeleteDone : DeleteFailed;
  if (right && right->numentries() >= half)
    return Redistribute(child, parent, i, right.get()) ? DeleteDone : DeleteFailed;
  int ok;
  if (left) {
    ok = Concatenate(left.get(), parent, i - 1, child);
  } else if (right) {
    ok = Concatenate(child, parent, i, right.get());
  } else {
    CorruptError();  // an inner page without entries
    return DeleteFailed;
  }
  if (!ok) return DeleteFailed;
  if (Underflowed(parent)) {
    if (!IsRoot(parent)) return DeleteUnderflow;
    if (!WritePage(parent)) return DeleteFailed;
    if (parent->numentries() == 0) SetStartingPage(left ? left->pagenumber() : child->pagenumber());
    return DeleteDone;
  }
  return WritePage(parent) ? DeleteDone : DeleteFailed;
}

// Moves entries through the parent's entry `slot` (the one between the two
// pages) from the fuller page to the other until they hold half each.
int LMTIndexFile::Redistribute(LMTIndexPage* left, LMTIndexPage* parent, int slot, LMTIndexPage* right) {
  int nl = left->numentries(), nr = right->numentries();
  if (nl > nr) {
    int c = nl - (nl + nr) / 2 - 1;
    int k = nl - c - 1;
    right->InsertBefore(0, left->childpage(nl), parent->recordnum(slot), parent->key(slot));
    parent->SetRecordNum(slot, left->recordnum(k));
    parent->SetKey(slot, left->key(k));
    left->SetChildPage(nl, left->childpage(k));
    left->Delete(k);
    for (int j = 0; j < c; j++) {
      int last = left->numentries() - 1;
      right->InsertBefore(0, left->childpage(last), left->recordnum(last), left->key(last));
      left->Delete(last);
    }
  } else {
    int c = nr - (nl + nr) / 2 - 1;
    left->Insert(nl, right->childpage(c), parent->recordnum(slot), parent->key(slot));
    parent->SetRecordNum(slot, right->recordnum(c));
    parent->SetKey(slot, right->key(c));
    right->Delete(c);
    for (int j = 0; j < c; j++) {
      left->InsertBefore(left->numentries(), right->childpage(0), right->recordnum(0), right->key(0));
      right->Delete(0);
    }
  }
  int ok = WritePage(left);
  ok = WritePage(right) && ok;
  return ok && WritePage(parent);
}

// Merges right into left with the parent's entry `slot` between them; right
// goes to disk empty and is never used again.
int LMTIndexFile::Concatenate(LMTIndexPage* left, LMTIndexPage* parent, int slot, LMTIndexPage* right) {
  int nl = left->numentries();
  left->Insert(nl, left->childpage(nl), parent->recordnum(slot), parent->key(slot));
  parent->Delete(slot);
  parent->SetChildPage(slot, left->pagenumber());
  while (right->numentries() > 0) {
    left->InsertBefore(left->numentries(), right->childpage(0), right->recordnum(0), right->key(0));
    right->Delete(0);
  }
  left->SetChildPage(left->numentries(), right->childpage(0));
  return WritePage(left) && WritePage(right);
}
