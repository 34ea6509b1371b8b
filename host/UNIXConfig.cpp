#include "host/UNIXConfig.h"

#include <unistd.h>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
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
  return Config::SetConfigValue(name, value);
}

// Stand-in reader: one name=value pair a line, '#' comments.
int UNIXConfig::ReadConfiguration(const String& file) {
  Buffer buffer(sorn_, 8192);
  if (!buffer.Open(file, file)) {
    sorn_->Error(ConfigurationError(this, "Cannot open configuration file"));
    return 1;
  }
  String line;
  int number = 1;
  for (int c = buffer.GetNextChar();; c = buffer.GetNextChar()) {
    if (c == '\n' || c < 0) {
      String text = line.before("#");
      text.StripWhitespace();
      if (!text.empty()) {
        if (!text.contains('=')) {
          sorn_->Error(ConfigurationSyntaxError(this, number, "Missing ="));
          return 1;
        }
        String key = text.before("="), value = text.after("=");
        key.StripWhitespace();
        value.StripWhitespace();
        if (SetConfigValue(key, value) != 0) {
          sorn_->Error(ConfigurationSyntaxError(this, number, "'" + value + "' is not a valid value for " + key));
          return 1;
        }
      }
      line = String();
      number++;
      if (c < 0) break;
    } else {
      line.cat((char)c);
    }
  }
  if (virtualhost.empty()) virtualhost = sorn_->vars()->GetSystemVariableValue(virtualhostvariable);
  return 0;
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
