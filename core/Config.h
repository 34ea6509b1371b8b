// Config: the configuration of one request, a table of keys each writing
// one member. Several keys may write the same member.
#ifndef SORN_CORE_CONFIG_H
#define SORN_CORE_CONFIG_H

#include "core/String.h"

class Sorn;

enum ConfigVarType { ConfigText = 0, ConfigInteger = 1, ConfigFlag = 2, ConfigEnd = 3 };

struct _ConfigVar {
  const char* name;
  int type;
  void* value;
};

class Config {
 public:
  Config();
  virtual ~Config();
  Config(const Config&) = delete;
  Config& operator=(const Config&) = delete;

  // 1 when the extension is allowed by validextensions (empty allows all).
  virtual int IsValidExtension(const String& extension);
  // 0 when taken or the key is unknown; nonzero when the value does not
  // suit the row's type (the member is then left alone).
  virtual int SetConfigValue(const String& name, const String& value);
  // 0 on success, 1 on failure.
  virtual int ReadSiteVarsFile(Sorn* sorn, const String& path, int required) = 0;

  String sornroot;
  String userdir;
  String usersitevars;
  String authfile;
  String authuserdir;
  String stdmodedatadir;
  String sorndefault;
  String sitevars;
  String commercedir;
  String path;
  String tempdir;
  int loglevel;
  int securityoptions;
  String workdir;
  String logfile;
  int globaltimeout;
  int mailtimeout;
  int calltimeout;
  String serveradmin;
  int usecookies;
  int nice;
  int maxcpu;
  int maxdata;
  int maxstack;
  int maxfunctiondepth;
  int importbuffersize;
  int templatebuffersize;
  int callbuffersize;
  int smtpbuffersize;
  int contentbuffersize;
  int outputbuffersize;
  String virtualhostvariable;
  int dnslookup;
  int redirectonly;
  int serveruserid;
  String validextensions;
  String packages;

 protected:
  _ConfigVar* vars_;
};

// Path-freedom bits of securityoptions.
enum SecurityOption {
  ScriptFollowLinks = 1,
  ScriptAnyLinkOwner = 2,
  DataFollowLinks = 4,
  DataAnyLinkOwner = 8,
  DataAbsolutePaths = 16,
  ScriptAbsolutePaths = 32,
  TemporaryFollowLinks = 256,
  TemporaryAnyLinkOwner = 512,
};

#endif
