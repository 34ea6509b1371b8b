#include "core/LogEntry.h"

#include <cstdio>

LogFileOpened::LogFileOpened(const String& filename, const String& type)
    : LogEntry(LogLevelFile, "FILEOPENED", "filename=" + filename + "&type=" + type) {}

LogFileClosed::LogFileClosed(const String& filename, const String& type)
    : LogEntry(LogLevelFile, "FILECLOSED", "filename=" + filename + "&type=" + type) {}

LogFileError::LogFileError(const String& filename, const String& type, const String& operation,
                           const String& error)
    : LogEntry(LogLevelFile, "FILEERROR",
               "filename=" + filename + "&type=" + type + "&operation=" + operation + "&error=" + error) {}

LogFileError::LogFileError(const String& filename, const String& destfilename, const String& type,
                           const String& operation, const String& error)
    : LogEntry(LogLevelFile, "FILEERROR",
               "filename=" + filename + "&destfilename=" + destfilename + "&type=" + type +
                   "&operation=" + operation + "&error=" + error) {}

LogFileDeleted::LogFileDeleted(const String& filename)
    : LogEntry(LogLevelFile, "FILEDELETED", "filename=" + filename) {}

LogFileRenamed::LogFileRenamed(const String& oldfilename, const String& newfilename)
    : LogEntry(LogLevelFile, "FILERENAMED", "oldfilename=" + oldfilename + "&newfilename=" + newfilename) {}

LogFileCopied::LogFileCopied(const String& filename, const String& newfilename)
    : LogEntry(LogLevelFile, "FILECOPIED", "filename=" + filename + "&newfilename=" + newfilename) {}

static String OctalMode(int mode) {
  // Room for "0" and the eleven octal digits of any 32-bit value.
  char text[16];
  snprintf(text, sizeof text, "0%03o", (unsigned)mode);
  return text;
}

LogFileModeChanged::LogFileModeChanged(const String& filename, int mode)
    : LogEntry(LogLevelFile, "FILEMODECHANGED", "filename=" + filename + "&newmode=" + OctalMode(mode)) {}

LogDirectoryCreated::LogDirectoryCreated(const String& directory)
    : LogEntry(LogLevelFile, "DIRECTORYCREATED", "directory=" + directory) {}

LogDirectoryDeleted::LogDirectoryDeleted(const String& directory)
    : LogEntry(LogLevelFile, "DIRECTORYDELETED", "directory=" + directory) {}

LogScriptStarted::LogScriptStarted(const String& filename)
    : LogEntry(LogLevelScript, "SCRIPTSTARTED", "filename=" + filename) {}

LogScriptEnded::LogScriptEnded(const String& filename)
    : LogEntry(LogLevelScript, "SCRIPTENDED", "filename=" + filename) {}
