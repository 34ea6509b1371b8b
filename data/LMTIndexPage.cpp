#include "data/LMTIndexPage.h"

#include <cstring>

#include "core/File.h"

LMTIndexPage::LMTIndexPage(long pagenumber, int keyrecordsize, int pagesize)
    : pagenumber_(pagenumber),
      keyrecordsize_(keyrecordsize),
      pagesize_(pagesize),
      capacity_(pagesize + keyrecordsize + 8),
      data_(new unsigned char[capacity_ + 1]()),
      current_(0) {}

LMTIndexPage::~LMTIndexPage() { delete[] data_; }

long LMTIndexPage::Slot(int i, long size) const {
  if (i < 0) return -1;
  long offset = 4 + (long)i * keyrecordsize_;
  return offset + size <= capacity_ ? offset : -1;
}

int LMTIndexPage::numentries() const { return (int)Get32(data_); }

long LMTIndexPage::childpage(int i) const {
  long at = Slot(i, 4);
  return at < 0 ? 0 : (long)Get32(data_ + at);
}

long LMTIndexPage::recordnum(int i) const {
  long at = Slot(i, 8);
  return at < 0 ? 0 : (long)Get32(data_ + at + 4);
}

const char* LMTIndexPage::key(int i) const {
  long at = Slot(i, keyrecordsize_);
  return at < 0 ? "" : (const char*)data_ + at + 8;
}

void LMTIndexPage::SetNumEntries(int n) { Put32(data_, (uint32_t)n); }

void LMTIndexPage::SetChildPage(int i, long page) {
  long at = Slot(i, 4);
  if (at >= 0) Put32(data_ + at, (uint32_t)page);
}

void LMTIndexPage::SetRecordNum(int i, long record) {
  long at = Slot(i, 8);
  if (at >= 0) Put32(data_ + at + 4, (uint32_t)record);
}

void LMTIndexPage::SetKey(int i, const char* key) {
  long at = Slot(i, keyrecordsize_);
  if (at < 0 || keysize() < 1) return;
  size_t n = strlen(key);
  if (n > (size_t)keysize() - 1) n = keysize() - 1;
  memmove(data_ + at + 8, key, n);
  data_[at + 8 + n] = 0;
}

int LMTIndexPage::ReadPage(File* file) {
  if (file->Seek(pagenumber_ * pagesize_) < 0) return 0;
  int n = file->Read((char*)data_, pagesize_);
  if (n < 0) return 0;
  if (n < pagesize_) {
    file->Error("File is corrupt");
    return 0;
  }
  // What lies past the page was not read: no stale bytes of an earlier
  // read may pass for a child or a key.
  memset(data_ + pagesize_, 0, capacity_ - pagesize_);
  if (Get32(data_) > (uint32_t)maxentries()) {
    file->Error("File is corrupt (the number of entries is larger than the maximum entries possible).");
    return 0;
  }
  return 1;
}

int LMTIndexPage::WritePage(File* file) {
  if (file->Seek(pagenumber_ * pagesize_) < 0) return 0;
  int n = file->Write((const char*)data_, pagesize_);
  if (n < 0) return 0;
  if (n < pagesize_) {
    file->Error("Short write");
    return 0;
  }
  return 1;
}

// Moves the slots from `at` on, last child included, one slot up. False
// when that would leave the buffer.
bool LMTIndexPage::Open(int at) {
  int n = numentries();
  if (at < 0 || at > n || Slot(n + 1, 4) < 0) return false;
  long from = Slot(at, 0);
  memmove(data_ + from + keyrecordsize_, data_ + from, (size_t)(n - at) * keyrecordsize_ + 4);
  SetNumEntries(n + 1);
  return true;
}

void LMTIndexPage::Insert(int at, long child, long record, const char* key) {
  if (!Open(at)) return;
  SetRecordNum(at, record);
  SetKey(at, key);
  SetChildPage(at + 1, child);
}

void LMTIndexPage::InsertBefore(int at, long child, long record, const char* key) {
  if (!Open(at)) return;
  SetRecordNum(at, record);
  SetKey(at, key);
  SetChildPage(at, child);
}

void LMTIndexPage::Delete(int at) {
  int n = numentries();
  if (at < 0 || at >= n || Slot(n, 4) < 0) return;
  long to = Slot(at, 0);
  memmove(data_ + to, data_ + to + keyrecordsize_, (size_t)(n - at - 1) * keyrecordsize_ + 4);
  SetNumEntries(n - 1);
}

void LMTIndexPage::CopyEntries(const LMTIndexPage& other, int from, int n) {
  long source = other.Slot(from, n * (long)keyrecordsize_ + 4);
  if (n < 0 || source < 0 || Slot(n, 4) < 0 || other.keyrecordsize_ != keyrecordsize_) return;
  memmove(data_ + 4, other.data_ + source, (size_t)n * keyrecordsize_ + 4);
  SetNumEntries(n);
}
