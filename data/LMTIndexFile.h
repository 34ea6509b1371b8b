// LMTIndexFile: an index file (.snx), one B-tree from key text to the
// record number of one table. Entries sit in inner pages as well as in
// leaves; every entry carries a record number. Keys are NUL-terminated text
// and compare as numbers when both sides are plain decimal numbers.
//
// The file is a sequence of pages of `pagesize` bytes; page n starts at
// n * pagesize. Page 0 holds the header in its first 427 bytes (the rest of
// it is a hole); page 1 is the first root. Page numbers are never reused
// and the file never shrinks. Page layout: data/LMTIndexPage.h.
//
// Header, 427 bytes at offset 0, integers little-endian:
//
//   offset  size  field          meaning
//   0       4     identifier     "LMTI"
//   4       1     version        3 when written; 4 or more is refused
//   5       4     updatecount    +1 after each successful Insert or Delete
//   9       4     numpages       pages in the file, the header page included
//   13      4     startingpage   page number of the root
//   17      2     order          most entries in a page: (pagesize - 4) / keyrecordsize - 1
//   19      2     pagesize       1024 when created
//   21      2     keyrecordsize  108 when created; keysize is keyrecordsize - 8
//   23      4     flags          LMTIndexFlags
//   27      400   keyexpression  the key expression's source text, NUL-padded
//
// Every operation works from the geometry in the header of the file at
// hand, read afresh each time; a geometry no page could be laid out in
// (keyrecordsize below 9, an order that leaves no room for the last child
// or is below 2) makes the file corrupt.
//
// Locks: the header range (0, 427) is a readers-writer lock over the whole
// file, taken with the waiting fcntl form: read for each cursor operation
// when asked, write for each Insert and Delete, released before returning.
//
// All operations return 1 for success and 0 for failure, with the message
// in error(). A cursor operation's record number is 0 when there is no such
// record, which is not a failure.
#ifndef SORN_DATA_LMTINDEXFILE_H
#define SORN_DATA_LMTINDEXFILE_H

#include <vector>

#include "core/File.h"
#include "core/String.h"
#include "data/LMTIndexPageStack.h"

class Sorn;

enum LMTIndexFlags {
  LMTIndexUnique = 1,      // equal keys are refused; an exact search ends at the first hit
  LMTIndexDescending = 2,  // every comparison is negated
  LMTIndexString = 4,      // keys compare as text only
};

class LMTIndexFile {
 public:
  enum {
    kHeaderSize = 427,
    kVersion = 3,
    kPageSize = 1024,
    kKeyRecordSize = 108,
    kOrder = (kPageSize - 4) / kKeyRecordSize - 1,
    kKeyExpressionSize = 400,
    // No tree this code builds comes near this height; an update that goes
    // deeper is walking a damaged file.
    kMaxDepth = 64,
  };

  explicit LMTIndexFile(Sorn* sorn);
  ~LMTIndexFile();
  LMTIndexFile(const LMTIndexFile&) = delete;
  LMTIndexFile& operator=(const LMTIndexFile&) = delete;

  // Opens an existing index with the FileMode bits of `mode`; displayname
  // is what messages show. Checks the identifier and the version.
  int Open(const String& path, const String& displayname, int mode);
  // Creates (or truncates) the file and writes an empty tree: a header and
  // an empty root, page 1. The file stays open.
  int Create(const String& path, const String& displayname, const String& keyexpression, long flags);
  // The same on a file the caller opened; the index takes it over, and
  // deletes it on failure.
  int Create(File* file, const String& path, const String& displayname, const String& keyexpression,
             long flags);
  int Close();
  bool isopen() const { return file_ != nullptr; }

  // Cursor operations. `lock` nonzero takes and releases the read lock.
  // Keys longer than keysize() - 1 bytes are cut first. _Find stands on the
  // leftmost key equal to `key` (exact nonzero) or beginning with it (exact
  // 0); with no match *recno is 0 and the cursor stays where the key would
  // go. When the read lock fails, _Find and _Seek return 0, while _First,
  // _Next, _Prev and _Last return 1 with *recno 0 (the end, as far as a
  // caller walking the index can tell) and the message in error().
  int _Find(const char* key, int exact, long* recno, int lock);
  // Stands on the entry of that key and record; when there is none it ends
  // with success and an empty path. *found, when given, gets recno when the
  // entry was found and 0 when not.
  int _Seek(const char* key, long recno, int lock, long* found = nullptr);
  int _First(long* recno, int lock);
  int _Next(long* recno, int lock);
  int _Prev(long* recno, int lock);
  int _Last(long* recno, int lock);

  // Tree updates, each under the write lock. Insert refuses an equal key
  // in a unique index; Delete fails with "Record is not in index" when the
  // tree has no entry of that key and record.
  int Insert(long record, const char* key);
  int Delete(long record, const char* key);

  // Below 0, 0 or above 0 as a sorts before, with or after b. exact 0
  // matches a as a prefix of b.
  static int Compare(const char* a, const char* b, int exact, long flags);
  // -2 when either side is not a plain decimal number, else -1, 0 or 1.
  static int NumberCompare(const char* a, const char* b);

  // Header primitives: 1, or 0 with the message in error(). ReadHeader
  // also refuses a geometry no page could be laid out in.
  int ReadHeader();
  int WriteHeader();
  // Reads one page, refusing a page number above numpages. Null on failure
  // with the message in error(); the caller owns the page.
  LMTIndexPage* ReadPage(long pagenumber);

  // Header fields.
  String identifier() const;
  int version() const { return header_[4]; }
  long updatecount() const { return Get32(5); }
  long numpages() const { return Get32(9); }
  long startingpage() const { return Get32(13); }
  int order() const { return (int)LMTIndexPage::Get16(header_ + 17); }
  int pagesize() const { return (int)LMTIndexPage::Get16(header_ + 19); }
  int keyrecordsize() const { return (int)LMTIndexPage::Get16(header_ + 21); }
  long flags() const { return Get32(23); }
  String keyexpression() const;
  int keysize() const { return keyrecordsize() - 8; }
  void SetIdentifier(const char* identifier);
  void SetVersion(int version) { header_[4] = (unsigned char)version; }
  void SetUpdateCount(long count) { Put32(5, count); }
  void SetNumPages(long pages) { Put32(9, pages); }
  void SetStartingPage(long page) { Put32(13, page); }
  void SetOrder(int order) { LMTIndexPage::Put16(header_ + 17, (unsigned)order); }
  void SetPageSize(int size) { LMTIndexPage::Put16(header_ + 19, (unsigned)size); }
  void SetKeyRecordSize(int size) { LMTIndexPage::Put16(header_ + 21, (unsigned)size); }
  void SetFlags(long flags) { Put32(23, flags); }
  // Cut to the 400 bytes of the field.
  void SetKeyExpression(const String& expression);
  const unsigned char* header() const { return header_; }

  const String& error() const { return error_; }
  void Error(const String& text) { error_ = text; }
  const String& displayname() const { return displayname_; }
  const String& path() const { return path_; }
  File* file() { return file_; }
  // Pages read from the file since the index was made.
  long pagesread() const { return pagesread_; }

 private:
  // Results of DoInsert and DoDelete, as the two recursions pass them up.
  enum InsertResult { InsertPromote = 0, InsertFailed = 1, InsertDone = 2 };
  enum DeleteResult { DeleteDone = 0, DeleteUnderflow = 1, DeleteNotFound = 2, DeleteFailed = 3 };
  enum DeleteState { DeleteSearching = 0, DeleteSuccessor = 1 };
  enum WalkDirection { WalkNone = 0, WalkForward = 1, WalkBackward = 2 };

  long Get32(int at) const { return (long)LMTIndexPage::Get32(header_ + at); }
  void Put32(int at, long v) { LMTIndexPage::Put32(header_ + at, (uint32_t)v); }
  bool GeometryUsable() const;
  int ReadHeaderBytes();
  String CutKey(const char* key) const;
  int LockHeader(FileLockType type);
  void ReleaseHeader();
  void ReadError();
  void CorruptError();

  // Cursor work, under whatever lock the caller holds.
  int DoFind(const char* key, int exact, long* recno);
  int DoSeek(const char* key, long recno, long* found);
  int DoFirst(long* recno);
  int DoNext(long* recno);
  int DoPrev(long* recno);
  int DoLast(long* recno);
  void StartWalk(WalkDirection direction);
  int PushPage(long pagenumber);
  int DescendLast(long* recno);
  int Reseek();
  void DropTop();

  // Tree updates, under the write lock.
  int InsertLocked(long record, const char* key);
  int DeleteLocked(long record, const char* key);
  int WritePage(LMTIndexPage* page);
  LMTIndexPage* ReadChild(long pagenumber);
  int DoInsert(long pagenumber, long record, const String& key, long* outchild, long* outrecord,
               String& outkey);
  int Split(int at, LMTIndexPage* left, LMTIndexPage* right, long child, long record, const String& key,
            long* outrecord, String& outkey);
  int DoDelete(int state, LMTIndexPage* keypage, LMTIndexPage* page, long record, const String& key);
  int DeleteBelow(int state, LMTIndexPage* keypage, LMTIndexPage* page, int slot, long record,
                  const String& key);
  int DeleteSearch(LMTIndexPage* page, long record, const String& key);
  int DeleteSuccessorStep(LMTIndexPage* keypage, LMTIndexPage* page);
  int HandleUnderflow(LMTIndexPage* parent, LMTIndexPage* child);
  int Redistribute(LMTIndexPage* left, LMTIndexPage* parent, int slot, LMTIndexPage* right);
  int Concatenate(LMTIndexPage* left, LMTIndexPage* parent, int slot, LMTIndexPage* right);
  bool Underflowed(const LMTIndexPage* page) const { return page->numentries() < order() / 2 - 1; }
  bool IsRoot(const LMTIndexPage* page) const { return page->pagenumber() == startingpage(); }

  Sorn* sorn_;
  File* file_;
  unsigned char header_[kHeaderSize];
  LMTIndexPageStack stack_;
  String path_;
  String displayname_;
  String error_;
  // The update count when the cursor's path was last built; a different
  // count in the file means the path may be stale.
  long cursorupdatecount_;
  // Pages pushed since the walk last changed direction: a walk in one
  // direction enters each page once, so more pushes than pages means a
  // page is reachable twice.
  WalkDirection walkdirection_;
  long walkpushes_;
  long pagesread_;
  // Page numbers from the root down to the page an update is working on,
  // and the pages an update has gone down to: a search for a key enters
  // each page of a tree once at most, so more than numpages means the
  // "tree" shares pages and a search could take for ever.
  std::vector<long> updatepath_;
  long updatereads_;
};

#endif
