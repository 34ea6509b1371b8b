// UNIXLogFile: the event log as one text file of lines, appended to by
// every request of the host at once.
//
// One line per event, fields separated by '|', ended by a line feed;
// numbers without leading zeros, time in Greenwich time:
//
//   field  meaning
//   1      event name ("FILEOPENED", ...)
//   2-7    day of the month, month 1-12, hour, minute, second, year
//   8      user name of the script's owner ("N/A" until known)
//   9-10   user id and group id (-1 until known)
//   11     full path of the script ("N/A" until known)
//   12     data directory ("N/A" until known)
//   13     engine version, "3.7600"
//   14     the log's threshold (not the event's level)
//   15     details, "key=value&key=value"
//
// Nothing is escaped. No lock is taken: the file is opened for appending
// and each line goes out in one write, which keeps lines of concurrent
// processes whole.
#ifndef SORN_HOST_UNIXLOGFILE_H
#define SORN_HOST_UNIXLOGFILE_H

#include <cstdint>

#include "core/LogFile.h"

class File;

class UNIXLogFile : public LogFile {
 public:
  UNIXLogFile(Sorn* sorn, int loglevel);
  ~UNIXLogFile() override;

  // Opens path for appending (created with bits 0600) and logs its own
  // opening. Closes an open log first. 1, or 0 when it cannot be opened.
  int Open(const String& path);
  // Logs the closing and closes; nothing when not open.
  void Close();

  using LogFile::Log;
  // Writes nothing while closed or for a level above the threshold; a
  // failed write is ignored.
  void Log(const String& name, const String& details, int level) override;

  // The request's identity, once the configuration has found it.
  void SetRequest(const String& username, int uid, int gid, const String& scriptname,
                  const String& datadirectory);

  bool isopen() const { return file_ != nullptr; }
  const String& filename() const { return filename_; }

 private:
  File* file_;
  String filename_;
  String username_;
  int32_t uid_;
  int32_t gid_;
  String scriptname_;
  String datadirectory_;
};

#endif
