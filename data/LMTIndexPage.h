// LMTIndexPage: one page of an index file (.snx) in memory, and the three
// entry moves that insertion, splitting and rebalancing are built from.
//
// Page layout, pagesize bytes, integers little-endian; krs is the file's
// keyrecordsize and keysize is krs - 8:
//
//   offset             size     meaning
//   0                  4        numentries
//   4 + i * krs        4        childpage(i): the page of the keys before key i; 0 in a leaf
//   8 + i * krs        4        recordnum(i): the record number of key i
//   12 + i * krs       keysize  key(i): NUL-terminated text
//
// There are numentries entries and numentries + 1 child slots: the last
// child stands in the child field of the slot behind the last entry. Bytes
// beyond that are never cleared, so stale entries stay on disk.
//
// The buffer holds room for one entry and one child field more than the
// page, plus a NUL that is never overwritten: an insertion into a page that
// a damaged file filled to the brim, and a key field whose NUL is missing,
// both stay inside the allocation. Accessors outside the buffer give 0 or
// "" and setters there do nothing.
#ifndef SORN_DATA_LMTINDEXPAGE_H
#define SORN_DATA_LMTINDEXPAGE_H

#include <cstdint>

class File;

class LMTIndexPage {
 public:
  // A zero-filled page; pagesize bytes are read and written.
  LMTIndexPage(long pagenumber, int keyrecordsize, int pagesize);
  ~LMTIndexPage();
  LMTIndexPage(const LMTIndexPage&) = delete;
  LMTIndexPage& operator=(const LMTIndexPage&) = delete;

  long pagenumber() const { return pagenumber_; }
  int keyrecordsize() const { return keyrecordsize_; }
  int pagesize() const { return pagesize_; }
  int keysize() const { return keyrecordsize_ - 8; }
  // The most entries that fit in the page: (pagesize - 4) / keyrecordsize.
  int maxentries() const { return (pagesize_ - 4) / keyrecordsize_; }

  int numentries() const;
  long childpage(int i) const;
  long recordnum(int i) const;
  const char* key(int i) const;
  void SetNumEntries(int n);
  void SetChildPage(int i, long page);
  void SetRecordNum(int i, long record);
  // Copies at most keysize - 1 bytes and a NUL; the rest of the field keeps
  // what was there.
  void SetKey(int i, const char* key);

  int current() const { return current_; }
  void SetCurrent(int current) { current_ = current; }

  // Seeks to pagenumber * pagesize and reads the whole page. 0 on a failed
  // or short read, and when numentries exceeds maxentries(); the file's
  // error() then holds the reason. 1 on success.
  int ReadPage(File* file);
  // Writes the whole page at its place. 1, or 0 with the reason in the
  // file's error().
  int WritePage(File* file);

  // Opens a gap at `at` for the entry; the new child goes to its right (at
  // + 1) and the child at `at` stays.
  void Insert(int at, long child, long record, const char* key);
  // The same with the new child to the entry's left (at `at`); the child
  // that stood there moves right with the rest.
  void InsertBefore(int at, long child, long record, const char* key);
  // Removes entry `at` and its left child; the last child moves down.
  void Delete(int at);

  // Makes this page hold other's entries from `from` to from + n - 1 and
  // the child behind them, as entries 0 to n - 1 and child n.
  void CopyEntries(const LMTIndexPage& other, int from, int n);

  // Little-endian integers, as every index structure stores them.
  static uint32_t Get32(const unsigned char* p) {
    return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
  }
  static unsigned Get16(const unsigned char* p) { return (unsigned)p[0] | (unsigned)p[1] << 8; }
  static void Put32(unsigned char* p, uint32_t v) {
    p[0] = (unsigned char)v;
    p[1] = (unsigned char)(v >> 8);
    p[2] = (unsigned char)(v >> 16);
    p[3] = (unsigned char)(v >> 24);
  }
  static void Put16(unsigned char* p, unsigned v) {
    p[0] = (unsigned char)v;
    p[1] = (unsigned char)(v >> 8);
  }

 private:
  // Offset of slot i's child field, or -1 when `size` bytes from there
  // would leave the buffer.
  long Slot(int i, long size) const;
  bool Open(int at);

  long pagenumber_;
  int keyrecordsize_;
  int pagesize_;
  int capacity_;  // usable bytes of data_; one NUL stands behind them
  unsigned char* data_;
  int current_;
};

#endif
