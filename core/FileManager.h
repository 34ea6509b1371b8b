// FileManager: operations on names in the file system. Every file the
// engine opens comes from Open; the Unix implementation is in host/.
#ifndef SORN_CORE_FILEMANAGER_H
#define SORN_CORE_FILEMANAGER_H

#include "core/String.h"

class File;
class Sorn;

// Results of FileManager::FollowPath.
enum FollowPathResult {
  FollowPathAccepted = 0,
  FollowPathLink = 1,            // a symbolic link where none is allowed
  FollowPathOtherOwner = 2,      // a link's target has another owner
  FollowPathDanglingLink = 3,    // a link's target does not exist
};

class FileManager {
 public:
  explicit FileManager(Sorn* sorn) : sorn_(sorn) {}
  virtual ~FileManager() {}
  FileManager(const FileManager&) = delete;
  FileManager& operator=(const FileManager&) = delete;

  // A new open file owned by the caller, or null with the reason in error().
  virtual File* Open(const String& path, int mode) = 0;

  // Counts the calls that may change what a file holds (opens for writing,
  // deletes, copies, renames): whoever keeps what it read from a file needs
  // to look at the file again only when the count has moved.
  unsigned long changes() const { return changes_; }
  // A text that differs whenever the file at path is another file or was
  // written to since; empty when there is no telling.
  virtual String Signature(const String&) { return String(); }
  // 0, or negative with the reason in error().
  virtual int Delete(const String& path) = 0;
  // 0 or -1. The target is created or truncated, with permission bits 0600.
  virtual int Copy(const String& from, const String& to) = 0;
  // 0 or negative; across file systems a copy followed by a delete.
  virtual int Rename(const String& from, const String& to) = 0;
  // 1 or 0; never stores an error.
  virtual int Exists(const String& path) = 0;
  // The size in bytes, or -1.
  virtual long Length(const String& path) = 0;
  // 1 for an existing directory, else 0; never stores an error.
  virtual int IsDirectory(const String& path) = 0;
  // Both drop one trailing separator first. 0 or negative.
  virtual int MakeDirectory(const String& path) = 0;
  virtual int RemoveDirectory(const String& path) = 0;
  // The result of the system call; a failure is not stored.
  virtual int MakeSymbolicLink(const String& target, const String& link) = 0;
  // The whole mode word of the file, or -1.
  virtual int Mode(const String& path) = 0;
  virtual int ChangeMode(const String& path, int mode) = 0;

  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) { error_ = text; }

  // Creates a file whose name is prefix plus a fresh eight-digit hexadecimal
  // suffix. On success prefix holds the full path and name has the suffix
  // appended; the caller owns the file. Null with error() set on failure.
  virtual File* MakeTemporary(String& prefix, String& name, int mode) = 0;
  virtual char pathseparator() const = 0;
  // The path less its extension: everything before the last '.' of the
  // last component; the whole path when that component has none.
  virtual String StripExtension(const String& path) = 0;
  // The last component of the path.
  virtual String StripDirectory(const String& path) = 0;
  // The owner of the name itself (a link, not its target), or -1.
  virtual int GetOwnerUID(const String& path) = 0;
  // Collapses "." and ".." by text and tests each symbolic link on the way
  // without replacing it. Returns a FollowPathResult; on acceptance path is
  // replaced by the collapsed form, otherwise it is left alone.
  virtual int FollowPath(String& path, int allowlinks, int allowotherowner) = 0;

  char PathSeparator() const { return pathseparator(); }

 protected:
  unsigned long changes_ = 0;
  Sorn* sorn_;
  String error_;
};

#endif
