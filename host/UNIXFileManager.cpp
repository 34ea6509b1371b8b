#include "host/UNIXFileManager.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "host/UNIXFile.h"

namespace {

// A chain of links longer than this is taken as a loop.
const int kMaxLinkChain = 40;

// The path less one trailing '/'.
String WithoutTrailingSlash(const String& path) {
  if (!path.empty() && path[path.length() - 1] == '/') return path.before(path.length() - 1);
  return path;
}

}  // namespace


int UNIXFileManager::Fail() {
  Error(strerror(errno));
  return -1;
}

File* UNIXFileManager::Open(const String& path, int mode) {
  if (mode & (FileWrite | FileCreate | FileTruncate | FileAppend)) changes_++;
  UNIXFile* file = new UNIXFile(sorn_);
  if (!file->Open(path, mode)) {
    Error(file->error());
    delete file;
    return nullptr;
  }
  return file;
}

String UNIXFileManager::Signature(const String& path) {
  struct stat st;
  if (stat(path.chars(), &st) != 0) return String();
  // Compared for equality only; written without printf, which a page that
  // prints no number would otherwise bring in.
  return Decimal((long)st.st_dev) + ":" + Decimal((long)st.st_ino) + ":" + Decimal((long)st.st_size) + ":" +
         Decimal((long)st.st_mtim.tv_sec) + "." + Decimal(st.st_mtim.tv_nsec);
}

int UNIXFileManager::Delete(const String& path) {
  changes_++;
  if (unlink(path.chars()) != 0) return Fail();
  return 0;
}

int UNIXFileManager::Copy(const String& from, const String& to) {
  changes_++;
  int in = open(from.chars(), O_RDONLY);
  if (in < 0) return Fail();
  int out = open(to.chars(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (out < 0) {
    Fail();
    close(in);
    return -1;
  }
  char block[8192];
  int result = 0;
  for (;;) {
    ssize_t got = read(in, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      result = Fail();
      break;
    }
    if (got == 0) break;
    ssize_t put = write(out, block, (size_t)got);
    if (put != got) {
      // A short write leaves errno alone; name the cause ourselves then.
      if (put >= 0) errno = ENOSPC;
      result = Fail();
      break;
    }
  }
  close(in);
  close(out);
  return result;
}

int UNIXFileManager::Rename(const String& from, const String& to) {
  changes_++;
  if (rename(from.chars(), to.chars()) == 0) return 0;
  if (errno != EXDEV) return Fail();
  if (Copy(from, to) != 0) return -1;
  return Delete(from);
}

int UNIXFileManager::Exists(const String& path) {
  struct stat st;
  return stat(path.chars(), &st) == 0;
}

long UNIXFileManager::Length(const String& path) {
  struct stat st;
  if (stat(path.chars(), &st) != 0) return Fail();
  return (long)st.st_size;
}

int UNIXFileManager::IsDirectory(const String& path) {
  struct stat st;
  return stat(path.chars(), &st) == 0 && S_ISDIR(st.st_mode);
}

int UNIXFileManager::MakeDirectory(const String& path) {
  if (mkdir(WithoutTrailingSlash(path).chars(), 0700) != 0) return Fail();
  return 0;
}

int UNIXFileManager::RemoveDirectory(const String& path) {
  if (rmdir(WithoutTrailingSlash(path).chars()) != 0) return Fail();
  return 0;
}

int UNIXFileManager::MakeSymbolicLink(const String& target, const String& link) {
  return symlink(target.chars(), link.chars());
}

int UNIXFileManager::Mode(const String& path) {
  struct stat st;
  if (stat(path.chars(), &st) != 0) return Fail();
  return (int)st.st_mode;
}

int UNIXFileManager::ChangeMode(const String& path, int mode) {
  if (chmod(path.chars(), (mode_t)mode) != 0) return Fail();
  return 0;
}

File* UNIXFileManager::MakeTemporary(String& prefix, String& name, int mode) {
  const int flags = UNIXFile::OpenMode(mode | FileCreate | FileExclusive);
  for (long counter = 1; counter <= 0x7FFFFFFFL; counter++) {
    char suffix[16];
    snprintf(suffix, sizeof suffix, "%08lX", counter);
    String candidate = prefix + suffix;
    int fd = open(candidate.chars(), flags, 0600);
    if (fd >= 0) {
      prefix = candidate;
      name.cat(suffix);
      return new UNIXFile(sorn_, fd);
    }
    if (errno != EEXIST) {
      Fail();
      return nullptr;
    }
  }
  Error("Unable to generate unique temporary filename");
  return nullptr;
}

String UNIXFileManager::StripExtension(const String& path) {
  int i = path.length() - 1;
  while (i > 0 && path[i] != '.' && path[i] != '/') i--;
  if (i >= 0 && path[i] == '.') return path.before(i);
  return path;
}

String UNIXFileManager::StripDirectory(const String& path) {
  int i = path.length() - 1;
  while (i > 0 && path[i] != '/') i--;
  if (i >= 0 && path[i] == '/') return path.from(i + 1);
  return path;
}

int UNIXFileManager::GetOwnerUID(const String& path) {
  struct stat st;
  if (lstat(path.chars(), &st) != 0) return -1;
  return (int)st.st_uid;
}

int UNIXFileManager::ReadLink(const String& path, String& text) {
  char target[1024];
  ssize_t n = readlink(path.chars(), target, sizeof target);
  if (n < 0) return 0;
  text.assign(target, (int)n);
  return 1;
}

// Each component is taken with its leading '/'. An empty component inside
// the path ("//") is dropped, so that a ".." behind it removes a real name;
// an empty last component is the trailing '/' and stays.
int UNIXFileManager::FollowPath(String& path, int allowlinks, int allowotherowner) {
  if (path.empty()) return FollowPathAccepted;
  String resolved;
  int result = FollowPathAccepted;
  const int length = path.length();
  int position = 0;
  while (position < length && result == FollowPathAccepted) {
    int start = position < length && path[position] == '/' ? position + 1 : position;
    int end = start;
    while (end < length && path[end] != '/') end++;
    String component = path.at(position, end);
    String word = path.at(start, end);
    const bool last = end >= length;
    position = end;

    if (word == "..") {
      int slash = -1;
      for (int i = resolved.length() - 1; i >= 0; i--)
        if (resolved[i] == '/') {
          slash = i;
          break;
        }
      resolved.truncate(slash < 0 ? 0 : slash);
      continue;
    }
    if (word == ".") continue;
    if (word.empty() && !last) continue;

    String candidate = resolved + component;
    String text;
    if (ReadLink(candidate, text)) {
      if (!allowlinks) {
        result = FollowPathLink;
        break;
      }
      int hops = 0;
      do {
        if (++hops > kMaxLinkChain) {
          result = FollowPathDanglingLink;
          break;
        }
        String target;
        if (text.matches('/', 0) || (resolved.empty() && !path.matches('/', 0)))
          target = text;
        else
          target = resolved + "/" + text;
        if (!allowotherowner) {
          int owner = GetOwnerUID(target);
          if (owner == -1) {
            result = FollowPathDanglingLink;
            break;
          }
          if (owner != GetOwnerUID(candidate)) {
            result = FollowPathOtherOwner;
            break;
          }
        }
        candidate = target;
      } while (ReadLink(candidate, text));
    }
    if (result == FollowPathAccepted) resolved.cat(component);
  }
  if (result == FollowPathAccepted) path = resolved;
  return result;
}
