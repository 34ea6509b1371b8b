// FileManager: operations on names in the file system. Every file the
// engine opens comes from Open; the Unix implementation is in host/.
#ifndef SORN_CORE_FILEMANAGER_H
#define SORN_CORE_FILEMANAGER_H

#include "core/String.h"

class File;
class Sorn;

class FileManager {
 public:
  explicit FileManager(Sorn* sorn) : sorn_(sorn) {}
  virtual ~FileManager() {}
  FileManager(const FileManager&) = delete;
  FileManager& operator=(const FileManager&) = delete;

  // A new open file owned by the caller, or null with the reason in error().
  virtual File* Open(const String& path, int mode) = 0;
  virtual char PathSeparator() const { return '/'; }

  const String& error() const { return error_; }
  void Error(const String& text) { error_ = text; }

 protected:
  Sorn* sorn_;
  String error_;
};

#endif
