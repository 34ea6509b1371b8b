#include "host/UNIXLogFile.h"

#include <cstdio>
#include <ctime>

#include "core/File.h"
#include "core/FileManager.h"
#include "core/Sorn.h"

namespace {

const char kEngineVersion[] = "3.7600";

void CatNumber(String& line, long value) {
  line.cat(Decimal(value));
  line.cat('|');
}

}  // namespace

UNIXLogFile::UNIXLogFile(Sorn* sorn, int loglevel)
    : LogFile(sorn, loglevel), file_(nullptr), username_("N/A"), uid_(-1), gid_(-1), scriptname_("N/A"),
      datadirectory_("N/A") {}

UNIXLogFile::~UNIXLogFile() { Close(); }

int UNIXLogFile::Open(const String& path) {
  Close();
  file_ = sorn_->filemanager()->Open(path, FileWrite | FileCreate | FileAppend);
  if (file_ == nullptr) return 0;
  filename_ = path;
  Log(LogFileOpened(path, "log"));
  return 1;
}

void UNIXLogFile::Close() {
  if (file_ == nullptr) return;
  Log(LogFileClosed(filename_, "log"));
  delete file_;
  file_ = nullptr;
  filename_ = String();
}

void UNIXLogFile::SetRequest(const String& username, int uid, int gid, const String& scriptname,
                             const String& datadirectory) {
  username_ = username;
  uid_ = uid;
  gid_ = gid;
  scriptname_ = scriptname;
  datadirectory_ = datadirectory;
}

void UNIXLogFile::Log(const String& name, const String& details, int level) {
  if (file_ == nullptr || level > loglevel_) return;
  time_t now = time(nullptr);
  struct tm parts = {};
  if (gmtime_r(&now, &parts) == nullptr) parts = tm();

  String line(name);
  line.cat('|');
  CatNumber(line, parts.tm_mday);
  CatNumber(line, parts.tm_mon + 1);
  CatNumber(line, parts.tm_hour);
  CatNumber(line, parts.tm_min);
  CatNumber(line, parts.tm_sec);
  CatNumber(line, parts.tm_year + 1900L);
  line.cat(username_);
  line.cat('|');
  CatNumber(line, uid_);
  CatNumber(line, gid_);
  line.cat(scriptname_);
  line.cat('|');
  line.cat(datadirectory_);
  line.cat('|');
  line.cat(kEngineVersion);
  line.cat('|');
  CatNumber(line, loglevel_);
  line.cat(details);
  line.cat('\n');
  // One write per line is what keeps concurrent appenders apart; a
  // failure must not disturb the request.
  file_->Write(line);
}
