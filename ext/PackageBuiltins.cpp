// The package built-ins: the packages enabled for the request, what each
// one is, and the unpacking of one into the script directory. They live
// here, beside Tar, rather than with the other built-ins in script/, which
// may not reach the extension layer; script/Builtins.cpp registers them.
//
// Unpacking trusts nothing in the archive: every entry's target goes
// through Sorn::ResolvePath as a script path, links and device entries are
// passed over, and a damaged header ends the walk.
#include "core/FileManager.h"
#include "core/Package.h"
#include "core/Sorn.h"
#include "ext/Tar.h"
#include "script/Builtins.h"

namespace {

// Permission bits an entry may set; chmod would read the rest as noise.
const int kModeBits = 07777;
const int kMadeDirectoryMode = 0755;

Package* FindPackage(Sorn* sorn, VariableTree* parameters) {
  return sorn->packages()->Find(BuiltinParameter(parameters, "code").chars());
}

// Makes the missing directories above the last component of path (a
// trailing separator does not make a component), each with mode 0755. The
// walk starts behind a leading separator, so the root is never tried.
// 1, or 0 with the message in result.
int MakeParentDirectories(FileManager* files, const String& path, String& result) {
  const char separator = files->pathseparator();
  int end = path.length();
  if (end > 0 && path[end - 1] == separator) end--;
  int last = -1;
  for (int i = 0; i < end; i++)
    if (path[i] == separator) last = i;
  for (int i = path.matches(separator, 0) ? 1 : 0; i <= last; i++) {
    if (path[i] != separator) continue;
    const String prefix = path.before(i);
    if (files->Exists(prefix)) continue;
    if (files->MakeDirectory(prefix) != 0) {
      result = "Error making directory: " + files->error();
      return 0;
    }
    files->ChangeMode(prefix, kMadeDirectoryMode);
  }
  return 1;
}

// Unpacks the current entry of tar, a regular file or a directory, below
// directory. 1, or 0 with the message in result.
int ExtractEntry(Sorn* sorn, Tar& tar, const String& directory, String& result) {
  FileManager* files = sorn->filemanager();
  const char separator = files->pathseparator();
  String target = directory;
  const bool directoryends = !directory.empty() && directory[directory.length() - 1] == separator;
  if (!directoryends && tar.name()[0] != separator) target.cat(separator);
  target.cat(tar.name());

  String resolved, message;
  if (!sorn->ResolvePath(target, resolved, ScriptPath, message)) {
    result = message;
    return 0;
  }
  if (!MakeParentDirectories(files, resolved, result)) return 0;
  if (tar.type() == TarDirectory) {
    if (!files->Exists(resolved) && files->MakeDirectory(resolved) != 0) {
      result = "Error making directory: " + files->error();
      return 0;
    }
  } else if (!tar.Write(resolved, target)) {
    result = tar.error();
    return 0;
  }
  // Only a sign in the field makes a mode negative, and chmod would read
  // that as every bit set.
  if (tar.mode() >= 0) files->ChangeMode(resolved, (int)(tar.mode() & kModeBits));
  return 1;
}

}  // namespace

void bi_sorn_package_list(Sorn* sorn, VariableTree*, String& result) {
  SearchableList<Package>* packages = sorn->packages();
  bool first = true;
  for (Package* package = packages->First(); package != nullptr; package = packages->Next()) {
    if (!first) result.cat(',');
    result.cat(package->code);
    first = false;
  }
}

void bi_sorn_package_name(Sorn* sorn, VariableTree* parameters, String& result) {
  if (Package* package = FindPackage(sorn, parameters)) result = package->name;
}

void bi_sorn_package_description(Sorn* sorn, VariableTree* parameters, String& result) {
  if (Package* package = FindPackage(sorn, parameters)) result = package->description;
}

void bi_sorn_package_version(Sorn* sorn, VariableTree* parameters, String& result) {
  if (Package* package = FindPackage(sorn, parameters)) result = package->version;
}

void bi_sorn_package_defaultpath(Sorn* sorn, VariableTree* parameters, String& result) {
  if (Package* package = FindPackage(sorn, parameters)) result = package->defaultpath;
}

// The reserved parameter is declared, so that a call must pass it, and is
// not read. A damaged header ends the walk without a message: what was
// unpacked before it stays, and the result stays empty.
void bi_sorn_package_extract(Sorn* sorn, VariableTree* parameters, String& result) {
  result = String();
  Package* package = FindPackage(sorn, parameters);
  if (package == nullptr) {
    result = "Package '" + BuiltinParameter(parameters, "code") + "' is not available";
    return;
  }
  const String directory = BuiltinParameter(parameters, "directory");
  Tar tar(sorn);
  if (!tar.Open(package->path, sorn->filemanager()->StripDirectory(package->path))) {
    result = tar.error();
    return;
  }
  for (tar.First(); tar.Current() != 0; tar.Next()) {
    // Links are not made and zero blocks pass by.
    if (tar.type() != TarRegular && tar.type() != TarDirectory) continue;
    if (!ExtractEntry(sorn, tar, directory, result)) break;
  }
}
