// The older FILE tag: delete, rename or change the mode of a file in the
// data folder. The command is a bare attribute, so a tag naming several
// takes the first of DELETE, RENAME, CHMOD. A failing system call is logged
// like the file built-ins (with "<FILE>" as the operation) and becomes a
// runtime error of the tag, which scripts may let pass and read in
// FILE_Error.
#include <stdlib.h>

#include "core/FileManager.h"
#include "core/LogEntry.h"
#include "core/LogFile.h"
#include "core/Sorn.h"
#include "script/ScriptParser.h"
#include "script/ScriptState.h"
#include "script/Tag.h"

namespace {

void Log(Sorn* sorn, const LogEntry& entry) {
  if (LogFile* log = sorn->logfile()) log->Log(entry);
}

// The attribute's value, or the syntax error naming it; null after the error.
NameValuePair* Required(ScriptParser* parser, Tag* tag, const char* command, const char* name, const char* what) {
  NameValuePair* pair = tag->Find(name);
  if (pair == nullptr)
    parser->SyntaxError(String("FILE ") + command + " requires a " + what + " to be specified by the attribute " + name);
  return pair;
}

}  // namespace

int ScriptState::ProcessFILE(Tag* tag) {
  Sorn* sorn = parser_->sorn();
  FileManager* files = sorn->filemanager();
  String message;
  if (tag->Find("DELETE") != nullptr) {
    NameValuePair* name = Required(parser_, tag, "DELETE", "NAME", "filename");
    if (name == nullptr) return StateFailure;
    String path;
    if (sorn->ResolvePath(name->value, path, DataPath, message) != 1) return RuntimeError(tag, message);
    if (files->Delete(path) != 0) {
      String reason = files->error();
      Log(sorn, LogFileError(path, "<FILE>", "deleting", reason));
      return RuntimeError(tag, "Error deleting '" + name->value + "': " + reason);
    }
    Log(sorn, LogFileDeleted(path));
    return StateHandled;
  }
  if (tag->Find("RENAME") != nullptr) {
    NameValuePair* name = Required(parser_, tag, "RENAME", "NAME", "filename");
    if (name == nullptr) return StateFailure;
    NameValuePair* old = Required(parser_, tag, "RENAME", "OLDNAME", "filename");
    if (old == nullptr) return StateFailure;
    String source, dest;
    if (sorn->ResolvePath(old->value, source, DataPath, message) != 1) return RuntimeError(tag, message);
    if (sorn->ResolvePath(name->value, dest, DataPath, message) != 1) return RuntimeError(tag, message);
    if (files->Rename(source, dest) != 0) {
      String reason = files->error();
      Log(sorn, LogFileError(source, dest, "<FILE>", "renaming", reason));
      return RuntimeError(tag, "Error renaming '" + old->value + "' to '" + name->value + "': " + reason);
    }
    Log(sorn, LogFileRenamed(source, dest));
    return StateHandled;
  }
  if (tag->Find("CHMOD") != nullptr) {
    NameValuePair* name = Required(parser_, tag, "CHMOD", "FILE", "filename");
    if (name == nullptr) return StateFailure;
    NameValuePair* modetext = Required(parser_, tag, "CHMOD", "MODE", "mode");
    if (modetext == nullptr) return StateFailure;
    String path;
    if (sorn->ResolvePath(name->value, path, DataPath, message) != 1) return RuntimeError(tag, message);
    // Base 0, as old pages wrote modes: "0644" octal, "420" decimal, "0x1a4" hexadecimal.
    int mode = (int)strtol(modetext->value, nullptr, 0);
    if (files->ChangeMode(path, mode) != 0) {
      String reason = files->error();
      Log(sorn, LogFileError(path, "<FILE>", "chmod", reason));
      return RuntimeError(tag, "Error changing mode of '" + name->value + "' to " + modetext->value + ": " + reason);
    }
    Log(sorn, LogFileModeChanged(path, mode));
    return StateHandled;
  }
  NameValuePair* first = tag->attributes().First();
  if (first != nullptr)
    parser_->SyntaxError("Unknown FILE command '" + first->value + "'");
  else
    parser_->SyntaxError("You must specify one of RENAME, DELETE, or CHMOD for the &lt;FILE&gt; tag");
  return StateFailure;
}
