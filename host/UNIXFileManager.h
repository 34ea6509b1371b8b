// UNIXFileManager: the file-system operations of the engine on POSIX calls.
#ifndef SORN_HOST_UNIXFILEMANAGER_H
#define SORN_HOST_UNIXFILEMANAGER_H

#include "core/FileManager.h"

class UNIXFileManager : public FileManager {
 public:
  explicit UNIXFileManager(Sorn* sorn) : FileManager(sorn) {}

  File* Open(const String& path, int mode) override;
  String Signature(const String& path) override;
  int Delete(const String& path) override;
  int Copy(const String& from, const String& to) override;
  int Rename(const String& from, const String& to) override;
  int Exists(const String& path) override;
  long Length(const String& path) override;
  int IsDirectory(const String& path) override;
  int MakeDirectory(const String& path) override;
  int RemoveDirectory(const String& path) override;
  int MakeSymbolicLink(const String& target, const String& link) override;
  int Mode(const String& path) override;
  int ChangeMode(const String& path, int mode) override;
  File* MakeTemporary(String& prefix, String& name, int mode) override;
  char pathseparator() const override { return '/'; }
  String StripExtension(const String& path) override;
  String StripDirectory(const String& path) override;
  int GetOwnerUID(const String& path) override;
  int FollowPath(String& path, int allowlinks, int allowotherowner) override;


 private:
  // Stores strerror(errno) and returns -1.
  int Fail();
  // The text of the link at path; 0 when path is no link.
  int ReadLink(const String& path, String& text);
};

#endif
