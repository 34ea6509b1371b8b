#include "data/XBaseTable.h"

#include <ctype.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <time.h>

#include <memory>

#include "core/FileManager.h"
#include "core/Sorn.h"

namespace {

// The count in the header is 32 bits wide; so is the next free memo block.
const unsigned long kMaxCount = 0xFFFFFFFFUL;
// A memo text longer than this is cut: the engine's strings hold no more.
const long kMaxMemoText = String::kMaxLength - 1;
const char kShortRead[] = "Unexpected end of file";
const char kShortWrite[] = "Short write";

unsigned long GetLong(const unsigned char* p) {
  return (unsigned long)p[0] | (unsigned long)p[1] << 8 | (unsigned long)p[2] << 16 |
         (unsigned long)p[3] << 24;
}

int GetShort(const unsigned char* p) { return p[0] | p[1] << 8; }

void PutLong(unsigned char* p, unsigned long value) {
  p[0] = value & 0xFF;
  p[1] = (value >> 8) & 0xFF;
  p[2] = (value >> 16) & 0xFF;
  p[3] = (value >> 24) & 0xFF;
}

void PutShort(unsigned char* p, int value) {
  p[0] = value & 0xFF;
  p[1] = (value >> 8) & 0xFF;
}

// Descriptor field offsets.
enum { kNameSize = 11, kTypeOffset = 11, kLengthOffset = 16, kDecimalsOffset = 17 };

XBaseField* NewField(XBaseTable* table, const char* name, XBaseFieldType type, int length, int decimals) {
  if (type == XBaseMEMO) return new XBaseMemoField(table, name, length, decimals);
  return new XBaseField(table, name, type, length, decimals);
}

}  // namespace

XBaseTable::XBaseTable(Sorn* sorn)
    : sorn_(sorn),
      file_(nullptr),
      memofile_(nullptr),
      version_(kVersionPlain),
      year_(0),
      month_(0),
      day_(0),
      recordcount_(0),
      headerlength_(0),
      recordlength_(0),
      recno_(0),
      deleted_(0),
      fields_(1),
      nextfreeblock_(1),
      record_(nullptr),
      recordsize_(0) {}

XBaseTable::~XBaseTable() {
  Close();
  delete[] record_;
}

// ---------------------------------------------------------------- messages

void XBaseTable::Fail(const char* what, const String& name, const String& reason) {
  error_ = String(what) + " '" + name + "': " + reason;
}

int XBaseTable::ReadFail(File* file, const String& name) {
  Fail("Error reading from", name, file->error());
  return 0;
}

int XBaseTable::WriteFail(File* file, const String& name) {
  Fail("Error writing to", name, file->error());
  return 0;
}

int XBaseTable::ReadExactly(File* file, const String& name, unsigned char* bytes, long n) {
  if (n <= 0) return 1;
  int got = file->Read(bytes, (int)n);
  if (got < 0) return ReadFail(file, name);
  if (got < n) {
    Fail("Error reading from", name, kShortRead);
    return 0;
  }
  return 1;
}

int XBaseTable::WriteExactly(File* file, const String& name, const unsigned char* bytes, long n) {
  if (n <= 0) return 1;
  int put = file->Write(bytes, (int)n);
  if (put < 0) return WriteFail(file, name);
  if (put < n) {
    Fail("Error writing to", name, kShortWrite);
    return 0;
  }
  return 1;
}

int XBaseTable::WriteByte(File* file, const String& name, unsigned char byte) {
  return WriteExactly(file, name, &byte, 1);
}

int XBaseTable::LockRange(File* file, const String& name, FileLockType type, long offset, long length) {
  if (file->Lock(type, offset, length) == 0) return 1;
  error_ = String("Error locking '") + name + (type == FileLockShared ? "' for read: " : "' for write: ") +
           file->error();
  return 0;
}

// ---------------------------------------------------------------- open and close

int XBaseTable::Open(const String& path, const String& displayname, int mode) {
  Close();
  path_ = path;
  displayname_ = displayname;
  FileManager* files = sorn_->filemanager();
  memopath_ = files->StripExtension(path) + ".dbt";
  memodisplayname_ = files->StripExtension(displayname) + ".dbt";

  // Not logged here: the host's own caches use tables too, and only what
  // scripts open belongs in the log (XBaseDatabase records it).
  file_ = files->Open(path_, mode);
  if (file_ == nullptr) {
    Fail("Error opening", displayname_, files->error());
    return 0;
  }
  if (!LockRange(file_, displayname_, FileLockShared, 0, kHeaderSize)) {
    Close();
    return 0;
  }
  int ok = ReadTableHeader() && ReadTableFields();
  if (ok && version_ == kVersionMemo) {
    memofile_ = files->Open(memopath_, mode);
    if (memofile_ == nullptr) {
      Fail("Error opening", memodisplayname_, files->error());
      ok = 0;
    } else if (!LockRange(memofile_, memodisplayname_, FileLockShared, 0, kMemoBlockSize)) {
      ok = 0;
    } else {
      ok = ReadMemoHeader();
      memofile_->Release(0, kMemoBlockSize);
    }
  }
  file_->Release(0, kHeaderSize);
  recno_ = 0;
  deleted_ = 0;
  if (!ok) Close();
  return ok;
}

int XBaseTable::Close() {
  delete file_;
  delete memofile_;
  file_ = memofile_ = nullptr;
  path_ = "";
  displayname_ = "";
  memopath_ = "";
  memodisplayname_ = "";
  return 1;
}

// ---------------------------------------------------------------- create

int XBaseTable::Create(const String& path, const String& displayname, const String& memopath,
                       const String& memodisplayname, List<XBaseField>& fields) {
  FileManager* files = sorn_->filemanager();
  String mpath = memopath.empty() ? files->StripExtension(path) + ".dbt" : memopath;
  String mname = memodisplayname.empty() ? files->StripExtension(displayname) + ".dbt" : memodisplayname;
  bool memo = false;
  for (XBaseField* f = fields.First(); f != nullptr; f = fields.Next())
    if (f->type() == XBaseMEMO) memo = true;

  Close();
  // Logged by XBaseDatabase, as in Open.
  File* file = files->Open(path, kCreateMode);
  if (file == nullptr) {
    Fail("Error creating", displayname, files->error());
    return 0;
  }
  File* memofile = nullptr;
  if (memo) {
    memofile = files->Open(mpath, kCreateMode);
    if (memofile == nullptr) {
      Fail("Error creating", mname, files->error());
      delete file;
      return 0;
    }
  }
  if (!Create(file, path, displayname, memofile, mpath, mname, fields)) {
    delete file;
    delete memofile;
    return 0;
  }
  return 1;
}

int XBaseTable::Create(File* file, const String& path, const String& displayname, File* memofile,
                       const String& memopath, const String& memodisplayname, List<XBaseField>& fields) {
  Close();
  path_ = path;
  displayname_ = displayname;
  FileManager* files = sorn_->filemanager();
  memopath_ = memopath.empty() ? files->StripExtension(path) + ".dbt" : memopath;
  memodisplayname_ = memodisplayname.empty() ? files->StripExtension(displayname) + ".dbt" : memodisplayname;
  version_ = kVersionPlain;
  nextfreeblock_ = 1;
  recordcount_ = 0;
  recno_ = 0;
  deleted_ = 0;

  fields_.Dump();
  long headerlength = kHeaderSize + 1;
  long recordlength = 1;
  bool fits = true;
  for (XBaseField* f = fields.First(); f != nullptr; f = fields.Next()) {
    if (f->type() == XBaseMEMO) version_ = kVersionMemo;
    // The descriptor keeps length and decimals in one byte each.
    if (f->length() > 255 || f->decimalcount() < 0 || f->decimalcount() > 255) fits = false;
    fields_.Insert(NewField(this, f->name(), f->type(), f->length(), f->decimalcount()), ListTail);
    headerlength += kDescriptorSize;
    recordlength += f->length();
  }
  // Both lengths are 16 bits wide in the header.
  if (headerlength > 0xFFFF || recordlength > 0xFFFF) fits = false;
  headerlength_ = fits ? (int)headerlength : 0;
  recordlength_ = fits ? (int)recordlength : 0;
  PrepareRecord();

  int ok = 1;
  if (!fits) {
    Fail("Error creating", displayname_, "Record layout does not fit the xBase format");
    ok = 0;
  } else if (file == nullptr) {
    error_ = String("Internal error opening '") + displayname_ + "'";
    ok = 0;
  } else {
    file_ = file;
    ok = WriteTableHeader() && WriteTableFields() && WriteByte(file_, displayname_, kEndMark);
  }
  if (ok && version_ == kVersionMemo) {
    if (memofile == nullptr) {
      error_ = String("Internal errorl opening '") + memodisplayname_ + "'";
      ok = 0;
    } else {
      memofile_ = memofile;
      ok = WriteMemoHeader() && WriteByte(memofile_, memodisplayname_, kEndMark);
    }
  }
  if (!ok) {
    // The caller still owns the files it gave.
    file_ = memofile_ = nullptr;
    return 0;
  }
  // A memo file that no field needs is not kept open, but it is adopted.
  if (memofile != nullptr && memofile_ == nullptr) delete memofile;
  return 1;
}

// ---------------------------------------------------------------- header and descriptors

int XBaseTable::ReadTableHeader() {
  if (file_ == nullptr) {
    error_ = String("Internal error opening '") + displayname_ + "'";
    return 0;
  }
  unsigned char header[kHeaderSize];
  if (file_->Seek(0) < 0) return ReadFail(file_, displayname_);
  if (!ReadExactly(file_, displayname_, header, kHeaderSize)) return 0;
  version_ = header[0];
  year_ = header[1];
  month_ = header[2];
  day_ = header[3];
  recordcount_ = GetLong(header + 4);
  headerlength_ = GetShort(header + 8);
  recordlength_ = GetShort(header + 10);
  PrepareRecord();
  if (version_ != kVersionPlain && version_ != kVersionMemo) {
    char number[8];
    snprintf(number, sizeof number, "0x%02X", version_);
    error_ = String("'") + displayname_ + "': Unsupported xBase file version (" + number + ")";
    return 0;
  }
  return 1;
}

int XBaseTable::WriteTableHeader() {
  unsigned char header[kHeaderSize];
  memset(header, 0, sizeof header);
  time_t now = time(nullptr);
  struct tm utc;
  if (gmtime_r(&now, &utc) != nullptr) {
    year_ = utc.tm_year;
    month_ = utc.tm_mon + 1;
    day_ = utc.tm_mday;
  }
  header[0] = (unsigned char)version_;
  header[1] = (unsigned char)year_;
  header[2] = (unsigned char)month_;
  header[3] = (unsigned char)day_;
  PutLong(header + 4, recordcount_);
  PutShort(header + 8, headerlength_);
  PutShort(header + 10, recordlength_);
  if (file_->Seek(0) < 0) return WriteFail(file_, displayname_);
  return WriteExactly(file_, displayname_, header, kHeaderSize);
}

int XBaseTable::ReadTableFields() {
  fields_.Dump();
  long size = headerlength_ - kHeaderSize;
  // Up to 31 bytes behind the last descriptor are not a descriptor.
  long count = headerlength_ > kHeaderSize ? (headerlength_ - kHeaderSize - 1) / kDescriptorSize : 0;
  std::unique_ptr<unsigned char[]> block(new unsigned char[size > 0 ? size : 1]);
  if (file_->Seek(kHeaderSize) < 0) return ReadFail(file_, displayname_);
  if (!ReadExactly(file_, displayname_, block.get(), size)) return 0;
  for (long i = 0; i < count; i++) {
    const unsigned char* d = block.get() + i * kDescriptorSize;
    char name[kNameSize + 1];
    memcpy(name, d, kNameSize);
    name[kNameSize] = '\0';
    int type = XBaseFieldTypeOf((char)d[kTypeOffset]);
    if (type < 0) {
      error_ = String("'") + displayname_ + "' contains an unsupported field of type '";
      error_.cat((char)d[kTypeOffset]);
      error_.cat("'");
      fields_.Dump();
      PrepareRecord();
      return 0;
    }
    if (type == XBaseMEMO) version_ = kVersionMemo;
    fields_.Insert(NewField(this, name, (XBaseFieldType)type, d[kLengthOffset], d[kDecimalsOffset]),
                   ListTail);
  }
  PrepareRecord();
  return 1;
}

int XBaseTable::WriteTableFields() {
  long size = headerlength_ - kHeaderSize;
  if (size <= 0) return 1;
  std::unique_ptr<unsigned char[]> block(new unsigned char[size]());
  unsigned char* d = block.get();
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next(), d += kDescriptorSize) {
    // Byte 10 stays NUL: names hold at most ten characters.
    memcpy(d, f->name(), strnlen(f->name(), kNameSize - 1));
    d[kTypeOffset] = (unsigned char)XBaseFieldLetter(f->type());
    d[kLengthOffset] = (unsigned char)f->length();
    d[kDecimalsOffset] = (unsigned char)f->decimalcount();
  }
  block[size - 1] = kEndOfDescriptors;
  if (file_->Seek(kHeaderSize) < 0) return WriteFail(file_, displayname_);
  return WriteExactly(file_, displayname_, block.get(), size);
}

void XBaseTable::PrepareRecord() {
  long extent = 1;
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next()) extent += f->length();
  long size = (recordlength_ > extent ? recordlength_ : extent) + 1;
  if (size <= recordsize_) return;
  unsigned char* record = new unsigned char[size];
  memset(record, ' ', size);
  if (record_ != nullptr) memcpy(record, record_, recordsize_);
  delete[] record_;
  record_ = record;
  recordsize_ = size;
}

XBaseField* XBaseTable::Field(const char* name) {
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next())
    if (strcasecmp(f->name(), name) == 0) return f;
  return nullptr;
}

// ---------------------------------------------------------------- records

long XBaseTable::RecordPosition(unsigned long recno) const {
  unsigned long long position =
      (unsigned long long)headerlength_ + (unsigned long long)(recno - 1) * (unsigned long long)recordlength_;
  if (position > (unsigned long long)LONG_MAX) return -1;
  return (long)position;
}

int XBaseTable::Goto(long recno) {
  if (file_ == nullptr || recno < 1 || (unsigned long)recno > recordcount_) {
    // Callers copy the text up: out of range is a failure with nothing to say.
    error_ = "";
    return 0;
  }
  long position = RecordPosition(recno);
  if (position < 0) {
    Fail("Error reading from", displayname_, kShortRead);
    return 0;
  }
  if (!LockRange(file_, displayname_, FileLockShared, position, recordlength_)) return 0;
  int ok = 0;
  if (file_->Seek(position) < 0) {
    ReadFail(file_, displayname_);
  } else if (ReadExactly(file_, displayname_, record_, recordlength_)) {
    // Fields that reach past the header's record length read as blanks.
    memset(record_ + recordlength_, ' ', recordsize_ - recordlength_);
    deleted_ = recordlength_ > 0 && record_[0] == kDeletedFlag;
    long offset = 1;
    for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next()) {
      f->Read(record_ + offset);
      offset += f->length();
    }
    recno_ = recno;
    ok = 1;
  }
  file_->Release(position, recordlength_);
  return ok;
}

void XBaseTable::BuildRecord() {
  record_[0] = deleted_ ? (unsigned char)kDeletedFlag : (unsigned char)' ';
  long offset = 1;
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next()) {
    // A memo that could not be stored leaves its bytes as they were.
    f->Write(record_ + offset);
    offset += f->length();
  }
}

int XBaseTable::RefreshHeader() {
  long length = headerlength_;
  if (!LockRange(file_, displayname_, FileLockExclusive, 0, length)) return 0;
  int ok = ReadTableHeader() && WriteTableHeader();
  file_->Release(0, length);
  return ok;
}

int XBaseTable::Update() {
  if (file_ == nullptr || recno_ < 1) {
    error_ = "";
    return 0;
  }
  long position = RecordPosition(recno_);
  if (position < 0) {
    Fail("Error writing to", displayname_, kShortWrite);
    return 0;
  }
  long length = recordlength_;
  if (!LockRange(file_, displayname_, FileLockExclusive, position, length)) return 0;
  int ok = 0;
  if (file_->Seek(position) < 0) {
    WriteFail(file_, displayname_);
  } else {
    BuildRecord();
    ok = WriteExactly(file_, displayname_, record_, length);
    if (ok) SetOriginal();
  }
  file_->Release(position, length);
  return ok && RefreshHeader();
}

int XBaseTable::Append() {
  if (file_ == nullptr) return 0;
  long headerlength = headerlength_;
  if (!LockRange(file_, displayname_, FileLockExclusive, 0, headerlength)) return 0;
  int ok = ReadTableHeader();
  long position = 0;
  if (ok) {
    position = recordcount_ < kMaxCount ? RecordPosition(recordcount_ + 1) : -1;
    long size = file_->Length();
    // A count in the header that puts the new record past the end of the
    // file would leave a hole of stale garbage records behind it.
    if (position < 0 || size < 0 || position > size) {
      Fail("Error writing to", displayname_, "Record count disagrees with the file size");
      ok = 0;
    }
  }
  if (ok && file_->Seek(position) < 0) ok = WriteFail(file_, displayname_);
  if (ok) {
    deleted_ = 0;
    memset(record_, ' ', recordsize_);
    BuildRecord();
    record_[recordlength_] = kEndMark;
    ok = WriteExactly(file_, displayname_, record_, recordlength_ + 1);
  }
  if (ok) {
    recordcount_++;
    ok = WriteTableHeader();
    if (ok) recno_ = (long)recordcount_;
  }
  file_->Release(0, headerlength);
  return ok;
}

int XBaseTable::UpdateDeleted(int flag) {
  if (file_ == nullptr || recno_ < 1) {
    error_ = "";
    return 0;
  }
  long position = RecordPosition(recno_);
  if (position < 0) {
    Fail("Error writing to", displayname_, kShortWrite);
    return 0;
  }
  long length = recordlength_;
  if (!LockRange(file_, displayname_, FileLockExclusive, position, length)) return 0;
  int ok = 0;
  if (file_->Seek(position) < 0) {
    WriteFail(file_, displayname_);
  } else {
    deleted_ = flag ? 1 : 0;
    ok = WriteByte(file_, displayname_, deleted_ ? (unsigned char)kDeletedFlag : (unsigned char)' ');
  }
  file_->Release(position, length);
  return ok && RefreshHeader();
}

void XBaseTable::SwapOriginal() {
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next()) f->SwapOriginal();
}

void XBaseTable::SetOriginal() {
  for (XBaseField* f = fields_.First(); f != nullptr; f = fields_.Next()) f->SetOriginal();
}

// ---------------------------------------------------------------- memo file

int XBaseTable::ReadMemoHeader() {
  if (memofile_ == nullptr) {
    error_ = String("Internal error opening '") + memodisplayname_ + "'";
    return 0;
  }
  unsigned char header[4];
  if (memofile_->Seek(0) < 0) return ReadFail(memofile_, memodisplayname_);
  if (!ReadExactly(memofile_, memodisplayname_, header, sizeof header)) return 0;
  nextfreeblock_ = (long)GetLong(header);
  return 1;
}

int XBaseTable::WriteMemoHeader() {
  unsigned char header[kMemoBlockSize];
  memset(header, 0, sizeof header);
  PutLong(header, (unsigned long)nextfreeblock_);
  if (memofile_->Seek(0) < 0) return WriteFail(memofile_, memodisplayname_);
  return WriteExactly(memofile_, memodisplayname_, header, kMemoBlockSize);
}

long XBaseTable::MemoBlockNumber(const char* text) {
  // Saturates where atoi would overflow: no block lies past 2^32.
  const long limit = (long)kMaxCount + 1;
  while (isspace((unsigned char)*text)) text++;
  bool negative = *text == '-';
  if (*text == '-' || *text == '+') text++;
  long number = 0;
  for (; *text >= '0' && *text <= '9'; text++) {
    number = number * 10 + (*text - '0');
    if (number > limit) number = limit;
  }
  return negative ? -number : number;
}

int XBaseTable::ReadMemoBlock(long block, char** text, int* length) {
  *text = nullptr;
  *length = 0;
  if (memofile_ == nullptr) {
    error_ = String("Internal error opening '") + memodisplayname_ + "'";
    return 0;
  }
  if (memofile_->Seek(block * kMemoBlockSize) < 0) return ReadFail(memofile_, memodisplayname_);
  long capacity = kMemoBlockSize;
  long used = 0;
  char* buffer = new char[capacity];
  unsigned char chunk[kMemoBlockSize];
  bool end = false;
  while (!end) {
    int got = memofile_->Read(chunk, kMemoBlockSize);
    if (got < 0) {
      delete[] buffer;
      return ReadFail(memofile_, memodisplayname_);
    }
    if (got == 0) break;
    const unsigned char* mark = (const unsigned char*)memchr(chunk, kEndMark, got);
    long take = mark != nullptr ? mark - chunk : got;
    end = mark != nullptr;
    if (used + take > kMaxMemoText) {
      take = kMaxMemoText - used;
      end = true;
    }
    if (used + take + 2 > capacity) {
      while (used + take + 2 > capacity) capacity *= 2;
      char* grown = new char[capacity];
      memcpy(grown, buffer, used);
      delete[] buffer;
      buffer = grown;
    }
    memcpy(buffer + used, chunk, take);
    used += take;
  }
  buffer[used] = '\0';
  *text = buffer;
  *length = (int)used;
  return 1;
}

long XBaseTable::WriteMemoBlock(const char* text) {
  long result = nextfreeblock_;
  size_t n = strlen(text);
  if (memofile_ == nullptr || n > (size_t)kMaxMemoText) return -1;
  long size = (long)n + 2;
  std::unique_ptr<unsigned char[]> bytes(new unsigned char[size]);
  memcpy(bytes.get(), text, n);
  bytes[n] = kEndMark;
  bytes[n + 1] = kEndMark;
  if (memofile_->Lock(FileLockExclusive, 0, kMemoBlockSize) != 0) return -1;
  int ok = ReadMemoHeader();
  if (ok) {
    // The last text ends inside the block before the next free one, so a
    // next free block well past the end is a damaged header; writing there
    // would make a vast sparse file.
    long size = memofile_->Length();
    if (size < 0) {
      ok = ReadFail(memofile_, memodisplayname_);
    } else if (nextfreeblock_ * kMemoBlockSize > size + kMemoBlockSize) {
      Fail("Error writing to", memodisplayname_, "Next free block lies beyond the end of the file");
      ok = 0;
    }
  }
  if (ok && memofile_->Seek(nextfreeblock_ * kMemoBlockSize) < 0) ok = WriteFail(memofile_, memodisplayname_);
  if (ok) ok = WriteExactly(memofile_, memodisplayname_, bytes.get(), size);
  if (ok) {
    long blocks = size / kMemoBlockSize + (size % kMemoBlockSize != 0 ? 1 : 0);
    if (nextfreeblock_ + blocks > (long)kMaxCount) {
      Fail("Error writing to", memodisplayname_, "Memo file is full");
      ok = 0;
    } else {
      nextfreeblock_ += blocks;
      ok = WriteMemoHeader();
    }
  }
  memofile_->Release(0, kMemoBlockSize);
  return ok ? result : -1;
}
