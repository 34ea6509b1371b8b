#include "host/UNIXFileManager.h"

#include <fcntl.h>

#include "host/UNIXFile.h"

int UNIXFileManager::OpenMode(int mode) {
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

File* UNIXFileManager::Open(const String& path, int mode) {
  UNIXFile* file = new UNIXFile(sorn_);
  if (!file->Open(path, mode)) {
    Error(file->error());
    delete file;
    return nullptr;
  }
  return file;
}
