#include "host/UNIXConfig.h"

#include <unistd.h>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/FileManager.h"
#include "core/Sorn.h"
#include "host/SiteVarsParser.h"
#include "host/UNIXAuthFileParser.h"
#include "host/UNIXConfigParser.h"
#include "script/Variable.h"
#include "script/Variables.h"

UNIXConfig::UNIXConfig(Sorn* sorn, int servermode)
    : defaultcontenttype("text/html"), sorn_(sorn), servermode_(servermode) {
  char cwd[4096];
  if (getcwd(cwd, sizeof cwd) != nullptr) {
    currentdirectory = cwd;
    stdmodedatadir = cwd;
    path = cwd;
  }
}

UNIXConfig::~UNIXConfig() {}

int UNIXConfig::SetConfigValue(const String& name, const String& value) {
  String expanded(value);
  ProcessMacros(expanded);
  return Config::SetConfigValue(name, expanded);
}

int UNIXConfig::ReadConfiguration(const String& file) {
  Buffer buffer(sorn_, 8192);
  if (!buffer.Open(file, file)) {
    sorn_->Error(ConfigurationError(this, "Cannot open configuration file"));
    return 1;
  }
  UNIXConfigParser parser(sorn_, &buffer, this);
  if (!parser.Parse()) return 1;
  if (virtualhost.empty()) virtualhost = sorn_->vars()->GetSystemVariableValue(virtualhostvariable);
  return 0;
}

// References name the environment the process started with; an unknown
// name expands to nothing.
void UNIXConfig::ProcessMacros(String& value) {
  ExpandReferences(value, [this](const String& name) {
    Variable* v = sorn_->environment()->Find(name);
    return v != nullptr ? v->value() : String();
  });
}

int UNIXConfig::ValidateConfiguration() {
  if (sornroot.empty()) {
    sorn_->Error(ConfigurationError(this, "sornroot is not defined"));
    return 1;
  }
  if (!sornroot.matches('/', 0)) sornroot = currentdirectory + "/" + sornroot;
  if (servermode_ && authfile.empty() && authuserdir.empty()) {
    sorn_->Error(ConfigurationError(this, "Sorn is running in server safe mode but no authfile or authuserdir are defined"));
    return 1;
  }
  if (!stdmodedatadir.empty() && !stdmodedatadir.matches('/', 0))
    stdmodedatadir = currentdirectory + "/" + stdmodedatadir;
  return 0;
}

int UNIXConfig::ReadSiteVars() {
  if (sitevars.empty()) return 0;
  return ReadSiteVarsFile(sorn_, sitevars, 1);
}

// The user's file lies in the data directory and passes the same gate as
// every data path; a missing file is no error.
int UNIXConfig::ReadUserSiteVars() {
  if (usersitevars.empty()) return 0;
  String resolved, message;
  if (!sorn_->ResolvePath(usersitevars, resolved, DataPath, message)) {
    sorn_->Error(ConfigurationError(this, message));
    return 1;
  }
  return ReadSiteVarsFile(sorn_, resolved, 0);
}

int UNIXConfig::ReadSiteVarsFile(Sorn* sorn, const String& path, int required) {
  // Most sites have no file of their own: asking first spares the failed
  // open its error text.
  if (!required && !sorn->filemanager()->Exists(path)) return 0;
  Buffer buffer(sorn, 8192);
  if (!buffer.Open(path, path)) {
    if (!required) return 0;
    sorn->Error(ConfigurationError(this, "Error opening sitevars file"));
    return 1;
  }
  SiteVarsParser parser(sorn, &buffer);
  parser.Parse();
  return 0;
}

namespace {

String WithoutLeadingDot(const String& text) {
  return text.matches('.', 0) && !text.empty() ? text.from(1) : text;
}

}  // namespace

void UNIXConfig::AddContentType(const String& extensions, const String& type) {
  String item;
  for (int at = 0; NextPiece(extensions, ',', at, item);) {
    item.StripWhitespace();
    item = WithoutLeadingDot(item);
    MimeType* known = mimetypes_.Find(item.chars());
    if (known != nullptr)
      known->type = type;
    else
      mimetypes_.Insert(new MimeType(item, type));
  }
}

String UNIXConfig::GetContentType(const String& extension) {
  MimeType* known = mimetypes_.Find(WithoutLeadingDot(extension).chars());
  return known != nullptr ? known->type : defaultcontenttype;
}

int UNIXConfig::ReadAuthFile(int uid, int gid, const String& username, const String& homedirectory,
                             String& datadirectory) {
  Buffer buffer(sorn_, 8192);
  if (!buffer.Open(authfile, authfile)) {
    sorn_->Error(ConfigurationError(this, "Error opening authfile"));
    return 1;
  }
  UNIXAuthFileParser parser(sorn_, &buffer, this, uid, gid, username, homedirectory, datadirectory);
  return parser.Parse() ? 0 : 1;
}
