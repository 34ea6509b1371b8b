// UNIXConfig: the configuration as read from the configuration file.
#ifndef SORN_HOST_UNIXCONFIG_H
#define SORN_HOST_UNIXCONFIG_H

#include "core/Config.h"

class UNIXConfig : public Config {
 public:
  UNIXConfig(Sorn* sorn, int servermode);
  ~UNIXConfig() override;

  int SetConfigValue(const String& name, const String& value) override;
  // 0 on success, 1 on failure (reported).
  int ReadConfiguration(const String& path);
  int ValidateConfiguration();
  // Expands &[NAME] references to the process environment in place.
  void ProcessMacros(String& value);
  // The system-wide and the user's site-variable files. 0 on success, 1 on
  // failure (reported).
  int ReadSiteVars();
  int ReadUserSiteVars();
  int ReadSiteVarsFile(Sorn* sorn, const String& path, int required) override;

  String virtualhost;
  String currentdirectory;
  String defaultcontenttype;

 private:
  Sorn* sorn_;
  int servermode_;
};

#endif
