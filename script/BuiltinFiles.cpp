// File built-ins. Each operation is one routine taking the PathType of its
// path (or of each side); every path passes Sorn::ResolvePath first, and a
// path it refuses leaves the failure value with nothing logged. A system
// call that fails is logged as a FILEERROR with the f name of the function
// and an action word, also for the s forms; a change that succeeds is
// logged as its own event.
#include <stdlib.h>

#include <cstdio>
#include <memory>

#include "core/File.h"
#include "core/FileManager.h"
#include "core/LogFile.h"
#include "core/Sorn.h"
#include "script/Builtins.h"

namespace {

const int kCopyBlock = 8192;

void Log(Sorn* sorn, const LogEntry& entry) {
  if (LogFile* log = sorn->logfile()) log->Log(entry);
}

bool Resolve(Sorn* sorn, VariableTree* parameters, const char* name, PathType type, String& resolved) {
  String message;
  return sorn->ResolvePath(BuiltinParameter(parameters, name), resolved, type, message) == 1;
}

void SetFlag(String& result, bool value) { result.assign(value ? '1' : '0'); }

void Exists(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  SetFlag(result, Resolve(sorn, parameters, "path", type, path) && sorn->filemanager()->Exists(path));
}

void Size(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  long size = Resolve(sorn, parameters, "path", type, path) ? sorn->filemanager()->Length(path) : -1;
  result = Decimal(size < 0 ? -1 : size);
}

void Mode(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  int mode = Resolve(sorn, parameters, "path", type, path) ? sorn->filemanager()->Mode(path) : -1;
  if (mode < 0) {
    result = "-1";
    return;
  }
  char text[8];
  snprintf(text, sizeof text, "0%03o", (unsigned)mode & 0777);
  result = text;
}

void MakeDirectory(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "path", type, path)) return;
  FileManager* files = sorn->filemanager();
  if (files->MakeDirectory(path) != 0) {
    Log(sorn, LogFileError(path, "fmkdir", "creating", files->error()));
    return;
  }
  Log(sorn, LogDirectoryCreated(path));
  SetFlag(result, true);
}

void Delete(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "path", type, path)) return;
  FileManager* files = sorn->filemanager();
  const bool directory = files->IsDirectory(path);
  if ((directory ? files->RemoveDirectory(path) : files->Delete(path)) != 0) {
    Log(sorn, LogFileError(path, "fdelete", "deleting", files->error()));
    return;
  }
  if (directory)
    Log(sorn, LogDirectoryDeleted(path));
  else
    Log(sorn, LogFileDeleted(path));
  SetFlag(result, true);
}

void ChangeMode(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String path;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "path", type, path)) return;
  // Base 0: "0644" is octal, "420" decimal, "0x1a4" hexadecimal.
  int mode = (int)strtol(BuiltinParameter(parameters, "mode"), nullptr, 0);
  FileManager* files = sorn->filemanager();
  if (files->ChangeMode(path, mode) != 0) {
    Log(sorn, LogFileError(path, "fchmod", "modeing", files->error()));
    return;
  }
  Log(sorn, LogFileModeChanged(path, mode));
  SetFlag(result, true);
}

void Copy(Sorn* sorn, VariableTree* parameters, String& result, PathType from, PathType to) {
  String source, dest;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "source", from, source) || !Resolve(sorn, parameters, "dest", to, dest)) return;
  FileManager* files = sorn->filemanager();
  std::unique_ptr<File> in(files->Open(source, FileRead));
  if (!in) {
    Log(sorn, LogFileError(source, "fcopy", "opening", files->error()));
    return;
  }
  std::unique_ptr<File> out(files->Open(dest, FileWrite | FileCreate | FileTruncate));
  if (!out) {
    Log(sorn, LogFileError(dest, "fcopy", "creating", files->error()));
    return;
  }
  std::unique_ptr<char[]> block(new char[kCopyBlock]);
  int count;
  const String* reason = nullptr;
  for (;;) {
    count = in->Read(block.get(), kCopyBlock);
    if (count <= 0) {
      reason = &in->error();
      break;
    }
    if (out->Write(block.get(), count) != count) {
      reason = &out->error();
      break;
    }
  }
  if (count != 0) {
    Log(sorn, LogFileError(source, dest, "fcopy", "copying", *reason));
    return;
  }
  Log(sorn, LogFileCopied(source, dest));
  SetFlag(result, true);
}

void Rename(Sorn* sorn, VariableTree* parameters, String& result, PathType from, PathType to) {
  String source, dest;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "source", from, source) || !Resolve(sorn, parameters, "dest", to, dest)) return;
  FileManager* files = sorn->filemanager();
  if (files->Rename(source, dest) != 0) {
    Log(sorn, LogFileError(source, dest, "frename", "renaming", files->error()));
    return;
  }
  Log(sorn, LogFileRenamed(source, dest));
  SetFlag(result, true);
}

// The link points at the resolved source. A new link is not logged.
void SymbolicLink(Sorn* sorn, VariableTree* parameters, String& result, PathType type) {
  String source, dest;
  SetFlag(result, false);
  if (!Resolve(sorn, parameters, "source", type, source) || !Resolve(sorn, parameters, "dest", type, dest)) return;
  if (sorn->filemanager()->MakeSymbolicLink(source, dest) != 0) {
    // The file manager keeps no text for this call; the system's is fresh.
    Log(sorn, LogFileError(source, dest, "fsymlink", "symlinking", sorn->lasterror()));
    return;
  }
  SetFlag(result, true);
}

}  // namespace

void bi_fexists(Sorn* s, VariableTree* p, String& r) { Exists(s, p, r, DataPath); }
void bi_fmkdir(Sorn* s, VariableTree* p, String& r) { MakeDirectory(s, p, r, DataPath); }
void bi_fdelete(Sorn* s, VariableTree* p, String& r) { Delete(s, p, r, DataPath); }
void bi_fcopy(Sorn* s, VariableTree* p, String& r) { Copy(s, p, r, DataPath, DataPath); }
void bi_frename(Sorn* s, VariableTree* p, String& r) { Rename(s, p, r, DataPath, DataPath); }
void bi_fchmod(Sorn* s, VariableTree* p, String& r) { ChangeMode(s, p, r, DataPath); }
void bi_fsize(Sorn* s, VariableTree* p, String& r) { Size(s, p, r, DataPath); }
void bi_fmode(Sorn* s, VariableTree* p, String& r) { Mode(s, p, r, DataPath); }
void bi_fsymlink(Sorn* s, VariableTree* p, String& r) { SymbolicLink(s, p, r, DataPath); }
void bi_sexists(Sorn* s, VariableTree* p, String& r) { Exists(s, p, r, ScriptPath); }
void bi_smkdir(Sorn* s, VariableTree* p, String& r) { MakeDirectory(s, p, r, ScriptPath); }
void bi_sdelete(Sorn* s, VariableTree* p, String& r) { Delete(s, p, r, ScriptPath); }
void bi_scopy(Sorn* s, VariableTree* p, String& r) { Copy(s, p, r, ScriptPath, ScriptPath); }
void bi_srename(Sorn* s, VariableTree* p, String& r) { Rename(s, p, r, ScriptPath, ScriptPath); }
void bi_schmod(Sorn* s, VariableTree* p, String& r) { ChangeMode(s, p, r, ScriptPath); }
void bi_ssize(Sorn* s, VariableTree* p, String& r) { Size(s, p, r, ScriptPath); }
void bi_smode(Sorn* s, VariableTree* p, String& r) { Mode(s, p, r, ScriptPath); }
void bi_ssymlink(Sorn* s, VariableTree* p, String& r) { SymbolicLink(s, p, r, ScriptPath); }
void bi_fscopy(Sorn* s, VariableTree* p, String& r) { Copy(s, p, r, DataPath, ScriptPath); }
void bi_sfcopy(Sorn* s, VariableTree* p, String& r) { Copy(s, p, r, ScriptPath, DataPath); }
void bi_fsrename(Sorn* s, VariableTree* p, String& r) { Rename(s, p, r, DataPath, ScriptPath); }
void bi_sfrename(Sorn* s, VariableTree* p, String& r) { Rename(s, p, r, ScriptPath, DataPath); }
