// UNIXFile: a File over a POSIX descriptor, with fcntl record locks.
#ifndef SORN_HOST_UNIXFILE_H
#define SORN_HOST_UNIXFILE_H

#include "core/File.h"

class UNIXFile : public File {
 public:
  explicit UNIXFile(Sorn* sorn) : File(sorn), fd_(-1) {}
  UNIXFile(Sorn* sorn, int fd) : File(sorn), fd_(fd) {}
  ~UNIXFile() override;

  int Read(char* buffer, int size) override;
  int Write(const char* buffer, int size) override;
  long Seek(long offset) override;
  long Tell() override;
  long Length() override;
  int Truncate(long length) override;
  int Lock(FileLockType type, long offset, long length) override;
  int Release(long offset, long length) override;
  using File::Read;
  using File::Write;

  // Closes an open descriptor first; permission bits 0600. 1 or 0.
  virtual int Open(const String& path, int mode);
  virtual int Close();
  int fd() const { return fd_; }
  // The open-mode bits as open(2) flags.
  static int OpenMode(int mode);

 private:
  void Fail();
  int fd_;
};

#endif
