// CGISorn: the CGI and Unix host of one request.
#ifndef SORN_HOST_CGISORN_H
#define SORN_HOST_CGISORN_H

#include "core/Sorn.h"

class CGINetworkManager;
class StandardOutput;
class UNIXConfig;
class UNIXFileManager;
class UNIXLogFile;

class CGISorn : public Sorn {
 public:
  CGISorn(int argc, char** argv);
  ~CGISorn() override;

  // Configuration (CGISorn.cpp).
  int LoadConfiguration() override;
  int CheckConfiguration() override;
  int GetConfigurationFile(String& path);

  // Script location and path security (ScriptLocation.cpp).
  int GetScriptInformation(String& path, String& name) override;
  // Applies what the configuration asks of the process once the script is
  // known: the enabled packages, the log, the data directory and the
  // authorization, the switch of user, then nice, the limits and PATH, so
  // that they bind the script's user. 1, or 0 after reporting.
  int ProcessConfiguration(const String& path, const String& name) override;
  int ResolvePath(const String& path, String& result, PathType type, String& message) override;
  // The data directory of the request in the current mode, walked and
  // checked; then the site variables, with the switch of user between
  // them in server safe mode. 1, or 0 after reporting.
  int ProcessDataDirectory(const String& name);
  // Fills the owner's group, name and home from the password database, once:
  // only a log that writes and the user modes need them, and the look-up
  // costs a short page a tenth of its time.
  void LookUpScriptOwner();
  // Keeps of the declared packages those that the packages key names, in
  // the key's order.
  void EnablePackages();
  // nice, then maxcpu, maxdata and maxstack as hard limits over the soft
  // limits as they stand; a limit the system refuses is left alone.
  void ApplyProcessLimits();
  // PATH from the path key; the buffer lives until this object ends.
  void SetPathVariable();
  int RunningSetUIDRoot();
  int SwitchToUserMode(int uid);
  String UserNameFromUID(int uid);

  // Request variables and headers (RequestVariables.cpp).
  int AddEnvironmentVariables() override;
  int AddAPIVariables() override;
  int AddQueryArguments() override;
  int AddQueryVariables() override;
  int StartHeaders(int status) override;
  int OutputCookie() override;
  int EndHeaders() override;
  String RequestHeader(const String& name) override;
  int ReadContent(char* buffer, int size) override;
  String currentdate() override;
  String Crypt(const String& text, const String& salt) override;
  String MakeSessionID() override;

  // The database drivers: "xbase3" (any letter case) is the only one.
  Database* NewDatabase(const String& type, ScriptParser* parser, const String& name, String& error) override;

  Config* config() override;
  LogFile* logfile() override;
  FileManager* filemanager() override;
  NetworkManager* networkmanager() override;
  CommerceHandler* ConstructCommerceHandler(CommerceMethod* method, ScriptParser* parser) override;
  String basename() override { return basename_; }
  String hostname() override;
  int timedout() override;
  String lasterror() override;
  Output* output() override;

  void Signal() { signalled_ = 1; }
  int servermode() const { return servermode_; }
  const String& scriptdirectory() const { return scriptdirectory_; }
  const String& datadirectory() const { return datadirectory_; }

 private:
  int argc_;
  char** argv_;
  char* pathenv_;
  String redirectpath_;
  String basename_;
  volatile int signalled_;
  UNIXConfig* config_;
  UNIXLogFile* logfile_;
  UNIXFileManager* filemanager_;
  CGINetworkManager* networkmanager_;
  StandardOutput* output_;
  String scriptdirectory_;
  String datadirectory_;
  int scriptuid_;
  int scriptgid_;
  String contenttype_;
  String username_;
  String homedirectory_;
  int ownerknown_;
  int servermode_;
};

#endif
