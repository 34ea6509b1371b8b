// XBaseTable: an xBase table file (.dbf) of fixed-length records and its
// memo file (.dbt) of texts in 512-byte blocks. The table keeps one current
// record, read into its fields. Several processes share the files; they
// coordinate only through fcntl byte-range locks (shared for reading,
// exclusive for writing, always waiting).
//
// Every integer in both files is little-endian, assembled from and split
// into bytes whatever the host's byte order.
//
// Table file, offsets from the start of the file:
//
// | Offset     | Size     | Content                                                  |
// |------------|----------|----------------------------------------------------------|
// | 0          | 1        | version: 0x03 without memo, 0x83 with a memo file        |
// | 1          | 3        | UTC date of the last write: years since 1900, month, day |
// | 4          | 4        | number of records, deleted ones included                 |
// | 8          | 2        | header length: 32 + 32 * fields + 1                      |
// | 10         | 2        | record length: 1 + the sum of the field lengths          |
// | 12         | 20       | zero when written, ignored when read                     |
// | 32         | 32 * n   | the field descriptors, in record order                   |
// | hdrlen - 1 | 1        | 0x0D; written, never looked for                          |
// | hdrlen     | reclen*n | the records                                              |
// | then       | 1        | 0x1A, end mark                                           |
//
// Field descriptor, 32 bytes:
//
// | Offset | Size | Content                                          |
// |--------|------|--------------------------------------------------|
// | 0      | 11   | name, upper case, NUL-padded (byte 10 is NUL)    |
// | 11     | 1    | type letter C, N, D, L or M (see XBaseField.h)   |
// | 12     | 4    | zero, ignored                                    |
// | 16     | 1    | field length in bytes, unsigned                  |
// | 17     | 1    | decimal count, unsigned                          |
// | 18     | 14   | zero, ignored                                    |
//
// The number of descriptors read is (header length - 33) / 32, rounded
// towards zero, so up to 31 surplus bytes behind them are skipped.
//
// Record: byte 0 is '*' when the record is deleted, anything else (a blank
// when written) when it is live; the fields follow with no separators.
//
// Memo file, in 512-byte blocks numbered from 0:
//
// | Offset | Size | Content                                              |
// |--------|------|------------------------------------------------------|
// | 0      | 4    | next free block                                      |
// | 4      | 508  | zero when written, ignored when read                 |
// | 512    |      | texts; a new file holds one 0x1A here (513 bytes)    |
//
// A text starts at a block boundary and runs over as many blocks as it
// needs; it is written followed by 0x1A 0x1A and no padding, and read up to
// the first 0x1A or the end of the file. Block 0 is never a text. Blocks
// are never rewritten: a changed text goes to a new block.
//
// Results are 1 for success and 0 for failure unless stated; the text of a
// failure is in error().
#ifndef SORN_DATA_XBASETABLE_H
#define SORN_DATA_XBASETABLE_H

#include "core/File.h"
#include "core/List.h"
#include "core/String.h"
#include "data/XBaseField.h"
#include "data/XBaseMemoField.h"

class Sorn;

class XBaseTable {
 public:
  enum {
    kHeaderSize = 32,
    kDescriptorSize = 32,
    kMemoBlockSize = 512,
    kVersionPlain = 0x03,
    kVersionMemo = 0x83,
    kDeletedFlag = '*',
    kEndOfDescriptors = 0x0D,
    kEndMark = 0x1A,
  };
  // The mode with which the database opens a table: read and write.
  enum { kOpenMode = 3, kCreateMode = 15 };

  explicit XBaseTable(Sorn* sorn);
  ~XBaseTable();
  XBaseTable(const XBaseTable&) = delete;
  XBaseTable& operator=(const XBaseTable&) = delete;

  // Opens the table and, when it has a memo, the memo file beside it (the
  // path with its extension replaced by ".dbt"). The display name is what
  // messages show. Whatever was open is closed first.
  int Open(const String& path, const String& displayname, int mode);
  // Creates both files (the memo file only when a field is a MEMO) and
  // writes the empty table; empty memo names are derived from the table's.
  // The field list is copied; the table stays open.
  int Create(const String& path, const String& displayname, const String& memopath,
             const String& memodisplayname, List<XBaseField>& fields);
  // The same into files the caller made; they are adopted on success, and
  // on failure left to the caller.
  int Create(File* file, const String& path, const String& displayname, File* memofile,
             const String& memopath, const String& memodisplayname, List<XBaseField>& fields);
  // Closes both files and clears the names. 1.
  int Close();

  // Reads record recno (1 to the cached record count) into the fields. A
  // number out of range fails with no error text.
  int Goto(long recno);
  // Writes the fields over the current record, then stamps the header.
  int Update();
  // Adds the fields as a new record behind the last one; it becomes current.
  int Append();
  // Writes only the deletion byte of the current record.
  int UpdateDeleted(int flag);
  void SwapOriginal();
  void SetOriginal();

  // The file primitives. ReadTableHeader refreshes the cached header,
  // WriteTableHeader stamps today's UTC date and the cached record count.
  int ReadTableHeader();
  int WriteTableHeader();
  int ReadTableFields();
  int WriteTableFields();
  int ReadMemoHeader();
  int WriteMemoHeader();
  // The text of the memo starting at block: a new NUL-terminated buffer
  // (delete[]) and its length. A block beyond the end of the file gives the
  // empty text. Takes no lock: blocks are never rewritten.
  int ReadMemoBlock(long block, char** text, int* length);
  // Stores the text (up to its NUL) in a new block and returns the block
  // number to refer to, or -1.
  long WriteMemoBlock(const char* text);

  // The block number in a memo field's text as atoi reads it; a number too
  // large for the memo file reads as one beyond its end.
  static long MemoBlockNumber(const char* text);

  const String& error() const { return error_; }
  void Error(const String& text) { error_ = text; }
  List<XBaseField>* fields() { return &fields_; }
  XBaseField* Field(const char* name);
  int version() const { return version_; }
  int year() const { return year_; }
  int month() const { return month_; }
  int day() const { return day_; }
  unsigned long recordcount() const { return recordcount_; }
  // Replaces the cached record count; WriteTableHeader then stores it.
  void SetRecordCount(unsigned long count) { recordcount_ = count; }
  int headerlength() const { return headerlength_; }
  int recordlength() const { return recordlength_; }
  long recno() const { return recno_; }
  int deleted() const { return deleted_; }
  long nextfreeblock() const { return nextfreeblock_; }
  const String& path() const { return path_; }
  const String& displayname() const { return displayname_; }
  const String& memopath() const { return memopath_; }
  const String& memodisplayname() const { return memodisplayname_; }
  int isopen() const { return file_ != nullptr; }
  int hasmemo() const { return memofile_ != nullptr; }

 private:
  // "{what} '{name}': {reason}"-style messages built from a file's error.
  void Fail(const char* what, const String& name, const String& reason);
  int ReadFail(File* file, const String& name);
  int WriteFail(File* file, const String& name);
  // Reads or writes exactly n bytes at the file's position; a short count
  // is a failure.
  int ReadExactly(File* file, const String& name, unsigned char* bytes, long n);
  int WriteExactly(File* file, const String& name, const unsigned char* bytes, long n);
  int LockRange(File* file, const String& name, FileLockType type, long offset, long length);
  // The byte offset of record recno, or -1 when it cannot be a file offset.
  long RecordPosition(unsigned long recno) const;
  // Sizes the record buffer for the header's record length and the fields.
  void PrepareRecord();
  // Lays the deletion byte and every field out in the record buffer.
  void BuildRecord();
  // Update's last step: stamps the header under the appenders' lock.
  int RefreshHeader();
  int WriteByte(File* file, const String& name, unsigned char byte);

  Sorn* sorn_;
  File* file_;
  File* memofile_;
  String path_;
  String displayname_;
  String memopath_;
  String memodisplayname_;
  String error_;
  int version_;
  int year_;
  int month_;
  int day_;
  unsigned long recordcount_;
  int headerlength_;
  int recordlength_;
  long recno_;
  int deleted_;
  List<XBaseField> fields_;
  long nextfreeblock_;
  // One record: the header's record length, or the fields' extent when it
  // is larger, plus one byte for the end mark that Append lays down.
  unsigned char* record_;
  long recordsize_;
};

#endif
