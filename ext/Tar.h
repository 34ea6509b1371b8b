// Tar: a reader of ustar archives, entry by entry, that can copy the data
// of a regular entry to a file. Nothing here writes archives.
//
// An archive is a series of 512-byte blocks: a header block, then the
// entry's data padded to a multiple of 512, then the next header. Two or
// more all-zero blocks end it; they are walked like entries (TarZeroBlock)
// until the file ends. The header, as read (numbers are octal text, each
// field parsed from a copy ended at the field's end):
//
//   offset  size  field
//        0   100  name, NUL-terminated unless it fills the field
//      100     8  mode
//      108     8  uid
//      116     8  gid
//      124    12  size of the data in bytes
//      136    12  mtime
//      148     8  chksum: unsigned sum of all 512 bytes, this field
//                 counted as eight blanks
//      156     1  typeflag
//      157   100  linkname
//      257     8  magic and version, not read
//      265    32  uname
//      297    32  gname
//      329     8  devmajor
//      337     8  devminor
//      345   167  not read (the POSIX prefix field is not used)
//
// Names are used as they stand: containment is the caller's business, and
// Sorn::ResolvePath is the place for it.
#ifndef SORN_EXT_TAR_H
#define SORN_EXT_TAR_H

#include "core/String.h"

class File;
class Sorn;

// The type of the current entry.
enum TarType {
  TarRegular = 0,
  TarHardLink = 1,
  TarSymbolicLink = 2,
  TarDirectory = 3,
  TarOther = 4,  // devices, pipes, extension headers, unknown flags
  TarZeroBlock = 5,
};

class Tar {
 public:
  static const int kBlockSize = 512;

  explicit Tar(Sorn* sorn);
  ~Tar();
  Tar(const Tar&) = delete;
  Tar& operator=(const Tar&) = delete;

  // Closes any open archive and opens path for reading; messages name the
  // archive by displayName. 1, or 0 with error() set.
  int Open(const String& path, const String& displayName);
  void Close();

  // Each reads the next header and returns the index of the entry it is on,
  // counting from 1; 0 ends a walk: the end of the file, an archive that is
  // not open, or a damaged header (then error() tells which).
  int First();
  int Next();
  int Current() const { return index_; }

  // Copies the current entry's data to path, created or truncated. Only a
  // regular entry has data to copy; any other returns 1 at once. A short
  // read of the archive ends the copy without an error, so a size beyond
  // the end of the file writes what the file holds. 1, or 0 with error().
  int Write(const String& path, const String& displayName);

  const String& error() const { return error_; }
  void Error(const String& text) { error_ = text; }

  // The fields of the current header. The numbers are -1 and the type
  // TarOther before the first header; a zero block clears them all.
  int type() const { return type_; }
  long mode() const { return mode_; }
  long uid() const { return uid_; }
  long gid() const { return gid_; }
  long size() const { return size_; }
  long mtime() const { return mtime_; }
  long devmajor() const { return devmajor_; }
  long devminor() const { return devminor_; }
  const char* name() const { return name_; }
  const char* linkname() const { return linkname_; }
  const char* uname() const { return uname_; }
  const char* gname() const { return gname_; }

 private:
  // 1 with the fields of the header at nextheader_ read and the offsets
  // moved on; 0 at the end of the file or on a damaged header.
  int ReadNextHeader();
  void ClearFields();

  Sorn* sorn_;
  String error_;
  File* file_;
  int index_;
  long dataoffset_;
  long nextheader_;
  String path_;
  String displayname_;

  long mode_;
  long uid_;
  long gid_;
  long size_;
  long mtime_;
  int type_;
  char name_[100 + 1];
  char linkname_[100 + 1];
  char uname_[32 + 1];
  char gname_[32 + 1];
  long devmajor_;
  long devminor_;
};

#endif
