// Which script a request means, under which user it runs, where its data
// lies, and the gate of every path a script names.
#include <pwd.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "core/Error.h"
#include "host/CGISorn.h"
#include "host/UNIXConfig.h"
#include "host/UNIXFileManager.h"
#include "host/UNIXLogFile.h"
#include "script/Module.h"
#include "script/Variable.h"

namespace {

bool StartsWith(const String& text, const String& prefix) {
  return text.length() >= prefix.length() && memcmp(text.chars(), prefix.chars(), prefix.length()) == 0;
}

bool EndsWithSlash(const String& text) { return !text.empty() && text[text.length() - 1] == '/'; }

// directory and path with exactly one '/' between them.
String JoinPath(const String& directory, const String& path) {
  const bool dirslash = EndsWithSlash(directory);
  const bool pathslash = path.matches('/', 0) && !path.empty();
  if (dirslash && pathslash) return directory.before(directory.length() - 1) + path;
  if (!dirslash && !pathslash) return directory + "/" + path;
  return directory + path;
}

// The texts of FollowPath's refusals 1 to 3, behind the subject they name.
const char* const kLinkRefusals[] = {
    "",
    " references a symbolic link",
    " references a symbolic link to a directory or file owned by a different user",
    " references a symbolic link to a directory or file that does not exist",
};

}  // namespace

int CGISorn::GetScriptInformation(String& path, String& name) {
  String script;
  if (!redirectpath_.empty()) {
    script = redirectpath_.matches('/', 0) ? redirectpath_.from(1) : redirectpath_;
  } else if (argc_ >= 2 && argv_[1] != nullptr) {
    script = argv_[1];
  } else {
    Variable* query = environment_->Find("QUERY_STRING");
    if (query != nullptr) script = query->value().before("+");
  }
  script.gsub("\\", "");

  const String& root = config_->sornroot;
  const String& document = config_->sorndefault;
  if (!script.empty()) {
    name = script;
    if (script.matches('~', 0)) {
      if (servermode_ == 0) {
        Error(FatalError("~user is not supported in standard mode"));
        return 0;
      }
      String user = script.from(1).before("/");
      String rest = script.after("/");
      username_ = user;
      struct passwd* pw = getpwnam(user.chars());
      if (pw != nullptr) {
        scriptdirectory_ = String(pw->pw_dir) + "/" + config_->userdir + "/";
        path = scriptdirectory_ + rest;
      } else {
        path = script;
      }
    } else {
      scriptdirectory_ = root;
      if (!EndsWithSlash(root) && !script.matches('/', 0)) scriptdirectory_.cat('/');
      path = scriptdirectory_ + script;
    }
    if (filemanager_->IsDirectory(path)) {
      if (!EndsWithSlash(path)) path.cat('/');
      path.cat(document);
      name = document;
    }
  } else {
    scriptdirectory_ = root;
    path = root;
    if (!EndsWithSlash(path)) path.cat('/');
    path.cat(document);
    name = document;
  }

  const int options = config_->securityoptions;
  const int links = options & ScriptFollowLinks;
  const int owner = options & ScriptAnyLinkOwner;
  const String subject = username_.empty() ? String("The directory configured as sornroot")
                                           : "The configured script directory for " + username_;
  int walk = filemanager_->FollowPath(scriptdirectory_, links, owner);
  if (walk != FollowPathAccepted) {
    Error(ConfigurationError(config_, subject + kLinkRefusals[walk]));
    return 0;
  }
  if (!filemanager_->Exists(scriptdirectory_)) {
    Error(ConfigurationError(config_, subject + " does not exist"));
    return 0;
  }

  walk = filemanager_->FollowPath(path, links, owner);
  if (walk != FollowPathAccepted) {
    Error(FatalError("'" + name + "'" + kLinkRefusals[walk]));
    return 0;
  }
  if (!StartsWith(path, scriptdirectory_)) {
    Error(FatalError("'" + name + "' is not contained in the configured script directory"));
    return 0;
  }

  struct stat st;
  if (stat(path.chars(), &st) != 0) {
    Error(ScriptNotFoundError("Unable to open " + name));
    return 0;
  }
  int dot = -1;
  for (int i = path.length() - 1; i >= 0; i--)
    if (path[i] == '.') {
      dot = i;
      break;
    }
  String extension = dot < 0 ? path : path.from(dot + 1);
  if (!config_->IsValidExtension(extension)) {
    Error(FatalError("'" + name + "' does not have a valid extension"));
    return 0;
  }
  contenttype_ = config_->GetContentType(extension);

  // From here on the owner of the file is the user, whatever a ~user of the
  // request said.
  scriptuid_ = (int)st.st_uid;
  ownerknown_ = 0;
  return 1;
}

void CGISorn::LookUpScriptOwner() {
  if (ownerknown_) return;
  ownerknown_ = 1;
  struct passwd* pw = getpwuid((uid_t)scriptuid_);
  if (pw != nullptr) {
    scriptgid_ = (int)pw->pw_gid;
    username_ = pw->pw_name;
    homedirectory_ = pw->pw_dir;
  } else {
    username_ = "#" + Decimal(scriptuid_);
    homedirectory_ = "/";
  }
}

int CGISorn::ProcessDataDirectory(const String& name) {
  if (servermode_ == 1 && (int)geteuid() != scriptuid_) {
    Error(FatalError("'" + name + "' is not owned by " + UserNameFromUID((int)geteuid())));
    return 0;
  }
  if (servermode_ == 1 || servermode_ == 2) {
    LookUpScriptOwner();
    const String& userdir = config_->authuserdir;
    datadirectory_ = String();
    // authuserdir is the default grant; the authorization file may replace
    // or withdraw it.
    if (scriptuid_ != 0 && !userdir.empty()) {
      if (userdir.matches('/', 0) || homedirectory_.empty())
        datadirectory_ = userdir;
      else
        datadirectory_ = homedirectory_ + "/" + userdir;
    }
    if (!config_->authfile.empty() &&
        config_->ReadAuthFile(scriptuid_, scriptgid_, username_, homedirectory_, datadirectory_) != 0)
      return 0;
    if (datadirectory_.empty()) {
      const char* product = servermode_ == 2 ? "Sorn Script" : "loomtext";
      Error(ConfigurationError(config_, username_ + " is not authorized to use " + product));
      return 0;
    }
  } else {
    datadirectory_ = config_->stdmodedatadir;
  }

  const int options = config_->securityoptions;
  const String subject = servermode_ == 0 ? String("The directory configured as stdmodedatadir")
                                          : "The configured data directory for " + username_;
  int walk = filemanager_->FollowPath(datadirectory_, options & DataFollowLinks, options & DataAnyLinkOwner);
  if (walk != FollowPathAccepted) {
    Error(ConfigurationError(config_, subject + kLinkRefusals[walk]));
    return 0;
  }
  if (!filemanager_->Exists(datadirectory_)) {
    Error(ConfigurationError(config_, subject + " does not exist"));
    return 0;
  }
  if (EndsWithSlash(datadirectory_)) datadirectory_.truncate(datadirectory_.length() - 1);

  if (config_->ReadSiteVars() != 0) return 0;
  if (servermode_ == 2) SwitchToUserMode(scriptuid_);
  if (config_->ReadUserSiteVars() != 0) return 0;
  return 1;
}

int CGISorn::ResolvePath(const String& path, String& result, PathType type, String& message) {
  const int options = config_->securityoptions;
  const bool absolute = path.matches('/', 0) && !path.empty();
  if (type == TemporaryPath && config_->tempdir.empty()) type = DataPath;

  String base;
  int links = 0, owner = 0;
  const char* place = "";
  switch (type) {
    case DataPath:
      base = datadirectory_;
      links = options & DataFollowLinks;
      owner = options & DataAnyLinkOwner;
      place = "data";
      result = (options & DataAbsolutePaths) && absolute ? path : JoinPath(datadirectory_, path);
      break;
    case ScriptPath:
      base = scriptdirectory_;
      links = options & ScriptFollowLinks;
      owner = options & ScriptAnyLinkOwner;
      place = "script";
      if ((options & ScriptAbsolutePaths) && absolute)
        result = path;
      else if (absolute || currentmodule_ == nullptr || currentmodule_->directory().empty())
        result = JoinPath(scriptdirectory_, path);
      else
        result = JoinPath(currentmodule_->directory(), path);
      break;
    case TemporaryPath:
      // The base is compared in its collapsed form, as the walked result is.
      base = config_->tempdir;
      filemanager_->FollowPath(base, 1, 1);
      links = options & TemporaryFollowLinks;
      owner = options & TemporaryAnyLinkOwner;
      place = "temporary";
      result = JoinPath(config_->tempdir, path);
      break;
  }

  int walk = filemanager_->FollowPath(result, links, owner);
  if (walk != FollowPathAccepted) {
    message = "'" + path + "'" + kLinkRefusals[walk];
    return 0;
  }
  if (!base.empty() && !StartsWith(result, base)) {
    message = "'" + path + "' is not contained in the configured " + place + " directory";
    return 0;
  }
  return 1;
}

int CGISorn::RunningSetUIDRoot() {
  struct stat st;
  if (argc_ < 1 || argv_[0] == nullptr || stat(argv_[0], &st) != 0) return 0;
  return (st.st_mode & 0x800) != 0 && st.st_uid == 0;
}

int CGISorn::SwitchToUserMode(int uid) {
  // Only the effective user changes. The result is not looked at: from
  // root the switch to the owner of an existing file does not fail.
  int failed = seteuid((uid_t)uid);
  (void)failed;
  return 1;
}

String CGISorn::UserNameFromUID(int uid) {
  struct passwd* pw = getpwuid((uid_t)uid);
  if (pw != nullptr) return pw->pw_name;
  return "user #" + Decimal(uid);
}
