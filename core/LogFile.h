// LogFile: the event log of the request, reached through Sorn::logfile().
// The Unix implementation (UNIXLogFile) lives in host/. Logging never
// fails a caller: an entry above the threshold, a closed log or a write
// that fails are all silently dropped.
#ifndef SORN_CORE_LOGFILE_H
#define SORN_CORE_LOGFILE_H

#include <cstdint>

#include "core/LogEntry.h"
#include "core/String.h"

class Sorn;

class LogFile {
 public:
  // loglevel is the configured threshold; 0 keeps nothing.
  LogFile(Sorn* sorn, int loglevel) : sorn_(sorn), loglevel_(loglevel) {}
  virtual ~LogFile() {}
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  // Writes one event when level is at most the threshold.
  virtual void Log(const String& name, const String& details, int level) = 0;
  virtual void Log(const LogEntry& entry) { Log(entry.name(), entry.details(), entry.loglevel()); }

  int loglevel() const { return loglevel_; }

 protected:
  Sorn* sorn_;
  int32_t loglevel_;
};

#endif
