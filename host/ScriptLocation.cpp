// Which script a request means, and the gate of every path a script names.
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "core/Error.h"
#include "host/CGISorn.h"
#include "host/UNIXConfig.h"

// Stand-in until the security modes land: PATH_INFO under the script root.
int CGISorn::GetScriptInformation(String& path, String& name) {
  name = redirectpath_.matches('/', 0) && !redirectpath_.empty() ? redirectpath_.from(1) : redirectpath_;
  path = config_->sornroot;
  if (!path.empty() && path[path.length() - 1] != '/') path.cat('/');
  scriptdirectory_ = path;
  path.cat(name);
  return 1;
}

int CGISorn::ProcessConfiguration(const String&, const String&) {
  datadirectory_ = config_->stdmodedatadir;
  return 1;
}

// Stand-in: script paths join the calling script's directory, data paths
// the data directory.
int CGISorn::ResolvePath(const String& path, String& result, PathType type, String&) {
  String base = type == ScriptPath ? scriptdirectory_ : datadirectory_;
  if (!base.empty() && base[base.length() - 1] != '/') base.cat('/');
  result = base + path;
  return 1;
}

int CGISorn::RunningSetUIDRoot() {
  struct stat st;
  if (argc_ < 1 || argv_[0] == nullptr || stat(argv_[0], &st) != 0) return 0;
  return (st.st_mode & 0x800) != 0 && st.st_uid == 0;
}

int CGISorn::SwitchToUserMode(int uid) {
  if (seteuid(uid) != 0) {
    // Failure is not looked at: the checks that follow use the real ids.
  }
  return 1;
}

String CGISorn::UserNameFromUID(int uid) {
  struct passwd* pw = getpwuid(uid);
  if (pw != nullptr) return pw->pw_name;
  char text[32];
  snprintf(text, sizeof text, "user #%d", uid);
  return text;
}
