// LogEntry: one event for the event log, a name and its fields as
// "key=value&key=value". The derived classes only fill those members, so a
// subsystem that touches files builds one and hands it to Sorn::logfile()
// without knowing the line format. Values are written as they are: a '&'
// or '|' in a file name is not escaped.
#ifndef SORN_CORE_LOGENTRY_H
#define SORN_CORE_LOGENTRY_H

#include <cstdint>

#include "core/String.h"

// Event levels: a log at threshold 1 keeps script events only, at 2 or
// more every event.
enum LogLevel { LogLevelScript = 1, LogLevelFile = 2 };

class LogEntry {
 public:
  LogEntry(int level, const char* name, const String& details) : level_(level), name_(name), details_(details) {}
  virtual ~LogEntry() {}
  virtual int loglevel() const { return level_; }
  const String& name() const { return name_; }
  const String& details() const { return details_; }

 protected:
  int32_t level_;
  String name_;
  String details_;
};

// The type argument of the file events says what the file is to the
// engine: "log", "script", "database", "index", "import" or "export"; the
// built-in file functions put their own name there instead.
class LogFileOpened : public LogEntry {
 public:
  LogFileOpened(const String& filename, const String& type);
};

class LogFileClosed : public LogEntry {
 public:
  LogFileClosed(const String& filename, const String& type);
};

// operation says what was tried ("opening", "creating", ...), error is the
// system's text.
class LogFileError : public LogEntry {
 public:
  LogFileError(const String& filename, const String& type, const String& operation, const String& error);
  LogFileError(const String& filename, const String& destfilename, const String& type, const String& operation,
               const String& error);
};

class LogFileDeleted : public LogEntry {
 public:
  explicit LogFileDeleted(const String& filename);
};

class LogFileRenamed : public LogEntry {
 public:
  LogFileRenamed(const String& oldfilename, const String& newfilename);
};

class LogFileCopied : public LogEntry {
 public:
  LogFileCopied(const String& filename, const String& newfilename);
};

// The mode is written as "0%03o".
class LogFileModeChanged : public LogEntry {
 public:
  LogFileModeChanged(const String& filename, int mode);
};

class LogDirectoryCreated : public LogEntry {
 public:
  explicit LogDirectoryCreated(const String& directory);
};

class LogDirectoryDeleted : public LogEntry {
 public:
  explicit LogDirectoryDeleted(const String& directory);
};

class LogScriptStarted : public LogEntry {
 public:
  explicit LogScriptStarted(const String& filename);
};

class LogScriptEnded : public LogEntry {
 public:
  explicit LogScriptEnded(const String& filename);
};

#endif
