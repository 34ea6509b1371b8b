#include "core/Config.h"

#include <cstdlib>
#include <cstring>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"

Config::Config()
    : userdir("public_lmt"),
      usersitevars("sitevars"),
      sorndefault("index.sn"),
      loglevel(0),
      securityoptions(0),
      globaltimeout(90),
      mailtimeout(30),
      calltimeout(30),
      serveradmin("webmaster@localhost"),
      usecookies(1),
      nice(0),
      maxcpu(0),
      maxdata(0),
      maxstack(0),
      maxfunctiondepth(23),
      importbuffersize(8192),
      templatebuffersize(8192),
      callbuffersize(8192),
      smtpbuffersize(8192),
      contentbuffersize(8192),
      outputbuffersize(8192),
      virtualhostvariable("SERVER_NAME"),
      dnslookup(1),
      redirectonly(0),
      serveruserid(-1) {
  const _ConfigVar rows[] = {
      {"loomtextroot", ConfigText, &sornroot},
      {"sornroot", ConfigText, &sornroot},
      {"vextroot", ConfigText, &sornroot},
      {"userdir", ConfigText, &userdir},
      {"usersitevars", ConfigText, &usersitevars},
      {"authfile", ConfigText, &authfile},
      {"authuserdir", ConfigText, &authuserdir},
      {"stdmodedatadir", ConfigText, &stdmodedatadir},
      {"loomtextdefault", ConfigText, &sorndefault},
      {"sorndefault", ConfigText, &sorndefault},
      {"vextdefault", ConfigText, &sorndefault},
      {"sitevars", ConfigText, &sitevars},
      {"commercedir", ConfigText, &commercedir},
      {"path", ConfigText, &path},
      {"tempdir", ConfigText, &tempdir},
      {"loglevel", ConfigInteger, &loglevel},
      {"securityoptions", ConfigInteger, &securityoptions},
      {"workdir", ConfigText, &workdir},
      {"logfile", ConfigText, &logfile},
      {"globaltimeout", ConfigInteger, &globaltimeout},
      {"mailtimeout", ConfigInteger, &mailtimeout},
      {"calltimeout", ConfigInteger, &calltimeout},
      {"serveradmin", ConfigText, &serveradmin},
      {"usecookies", ConfigFlag, &usecookies},
      {"nice", ConfigInteger, &nice},
      {"maxcpu", ConfigInteger, &maxcpu},
      {"maxdata", ConfigInteger, &maxdata},
      {"maxstack", ConfigInteger, &maxstack},
      {"maxfunctiondepth", ConfigInteger, &maxfunctiondepth},
      {"importbuffersize", ConfigInteger, &importbuffersize},
      {"templatebuffersize", ConfigInteger, &templatebuffersize},
      {"callbuffersize", ConfigInteger, &callbuffersize},
      {"smtpbuffersize", ConfigInteger, &smtpbuffersize},
      {"contentbuffersize", ConfigInteger, &contentbuffersize},
      {"outputbuffersize", ConfigInteger, &outputbuffersize},
      {"virtualhostvariable", ConfigText, &virtualhostvariable},
      {"dnslookup", ConfigFlag, &dnslookup},
      {"redirectonly", ConfigFlag, &redirectonly},
      {"serveruserid", ConfigInteger, &serveruserid},
      {"validextensions", ConfigText, &validextensions},
      {"packages", ConfigText, &packages},
      {"", ConfigEnd, nullptr},
  };
  const int count = sizeof rows / sizeof rows[0];
  vars_ = new _ConfigVar[count];
  memcpy(vars_, rows, sizeof rows);
}

Config::~Config() { delete[] vars_; }

namespace {

int SetInteger(int* member, const String& value) {
  const char* p = value.chars();
  if (*p == '-') p++;
  for (; *p; p++)
    if (*p < '0' || *p > '9') return 1;
  *member = atoi(value.chars());
  return 0;
}

int SetFlag(int* member, const String& value) {
  if (value.matches("on") || value.matches("yes") || value.matches("true") || value.matches("1")) {
    *member = 1;
    return 0;
  }
  if (value.matches("off") || value.matches("no") || value.matches("false") || value.matches("0")) {
    *member = 0;
    return 0;
  }
  return 1;
}

}  // namespace

int Config::SetConfigValue(const String& name, const String& value) {
  for (_ConfigVar* row = vars_; row->type != ConfigEnd; row++) {
    if (!name.matches(row->name)) continue;
    switch (row->type) {
      case ConfigText:
        *(String*)row->value = value;
        return 0;
      case ConfigInteger:
        return SetInteger((int*)row->value, value);
      case ConfigFlag:
        return SetFlag((int*)row->value, value);
    }
  }
  return 0;
}

int Config::IsValidExtension(const String& extension) {
  if (validextensions.empty()) return 1;
  String item;
  for (int at = 0; NextPiece(validextensions, ',', at, item);) {
    item.StripWhitespace();
    if (item.matches('.', 0) && !item.empty()) item = item.from(1);
    if (item.matches(extension.chars())) return 1;
  }
  return 0;
}

