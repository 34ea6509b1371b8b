// File: one open file; every read and write is one system call. The Unix
// implementation (UNIXFile) lives in host/.
#ifndef SORN_CORE_FILE_H
#define SORN_CORE_FILE_H

#include "core/String.h"

class Sorn;

enum FileMode {
  FileRead = 1,
  FileWrite = 2,
  FileCreate = 4,
  FileTruncate = 8,
  FileAppend = 16,
  FileExclusive = 32,
};

enum FileLockType { FileLockShared = 0, FileLockExclusive = 1 };

class File {
 public:
  explicit File(Sorn* sorn) : sorn_(sorn) {}
  virtual ~File() {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // Each returns -1 on failure and stores the reason in error().
  virtual int Read(char* buffer, int size) = 0;
  virtual int Write(const char* buffer, int size) = 0;
  virtual long Seek(long offset) = 0;
  virtual long Tell() = 0;
  virtual long Length() = 0;
  // Cuts the file (or extends it with zeros) to length bytes. 0 or -1.
  virtual int Truncate(long length) = 0;
  // Blocking record lock; waits until the range is free. 0 or -1.
  virtual int Lock(FileLockType type, long offset, long length) = 0;
  virtual int Release(long offset, long length) = 0;
  virtual int Write(const String& text) { return Write(text.chars(), text.length()); }
  virtual int Read(unsigned char* buffer, int size) { return Read((char*)buffer, size); }
  virtual int Write(const unsigned char* buffer, int size) { return Write((const char*)buffer, size); }
  virtual void Error(const String& text) { error_ = text; }
  virtual const String& error() const { return error_; }

 protected:
  Sorn* sorn_;

 private:
  String error_;
};

#endif
