#include "host/UNIXFile.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>


UNIXFile::~UNIXFile() {
  if (fd_ >= 0) close(fd_);
}

void UNIXFile::Fail() { Error(strerror(errno)); }

int UNIXFile::Open(const String& path, int mode) {
  if (fd_ >= 0) Close();
  fd_ = open(path.chars(), OpenMode(mode), 0600);
  if (fd_ < 0) {
    Fail();
    return 0;
  }
  return 1;
}

int UNIXFile::Close() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
  return 1;
}

int UNIXFile::Read(char* buffer, int size) {
  ssize_t n;
  do {
    n = read(fd_, buffer, size);
  } while (n < 0 && errno == EINTR);
  if (n < 0) Fail();
  return (int)n;
}

int UNIXFile::Write(const char* buffer, int size) {
  ssize_t n = write(fd_, buffer, size);
  if (n < 0) Fail();
  return (int)n;
}

long UNIXFile::Seek(long offset) {
  off_t n = lseek(fd_, offset, SEEK_SET);
  if (n < 0) Fail();
  return (long)n;
}

long UNIXFile::Tell() {
  off_t n = lseek(fd_, 0, SEEK_CUR);
  if (n < 0) Fail();
  return (long)n;
}

long UNIXFile::Length() {
  struct stat st;
  if (fstat(fd_, &st) < 0) {
    Fail();
    return -1;
  }
  return (long)st.st_size;
}

int UNIXFile::Truncate(long length) {
  if (ftruncate(fd_, (off_t)length) < 0) {
    Fail();
    return -1;
  }
  return 0;
}

int UNIXFile::Lock(FileLockType type, long offset, long length) {
  struct flock lock;
  memset(&lock, 0, sizeof lock);
  lock.l_type = type == FileLockExclusive ? F_WRLCK : F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = offset;
  lock.l_len = length;
  int result;
  do {
    result = fcntl(fd_, F_SETLKW, &lock);
  } while (result < 0 && errno == EINTR);
  if (result < 0) {
    Fail();
    return -1;
  }
  return 0;
}

int UNIXFile::Release(long offset, long length) {
  struct flock lock;
  memset(&lock, 0, sizeof lock);
  lock.l_type = F_UNLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = offset;
  lock.l_len = length;
  return fcntl(fd_, F_SETLK, &lock);
}

int UNIXFile::OpenMode(int mode) {
  int flags;
  if ((mode & FileRead) && (mode & FileWrite))
    flags = O_RDWR;
  else if (mode & FileWrite)
    flags = O_WRONLY;
  else
    flags = O_RDONLY;
  if (mode & FileCreate) flags |= O_CREAT;
  if (mode & FileTruncate) flags |= O_TRUNC;
  if (mode & FileAppend) flags |= O_APPEND;
  if (mode & FileExclusive) flags |= O_EXCL;
  return flags;
}
