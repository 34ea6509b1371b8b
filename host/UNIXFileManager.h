// UNIXFileManager: the file-system operations of the engine on POSIX calls.
#ifndef SORN_HOST_UNIXFILEMANAGER_H
#define SORN_HOST_UNIXFILEMANAGER_H

#include "core/FileManager.h"

class UNIXFileManager : public FileManager {
 public:
  explicit UNIXFileManager(Sorn* sorn) : FileManager(sorn) {}

  File* Open(const String& path, int mode) override;

  // The open-mode bits as open(2) flags.
  static int OpenMode(int mode);
};

#endif
