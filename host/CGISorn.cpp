#include "host/CGISorn.h"

#include <errno.h>
#include <stdlib.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/Error.h"
#include "core/Output.h"
#include "ext/UNIXCommerceHandler.h"
#include "host/CGINetworkManager.h"
#include "data/XBaseDatabase.h"
#include "host/UNIXConfig.h"
#include "host/UNIXFileManager.h"
#include "host/UNIXLogFile.h"
#include "script/Module.h"
#include "script/Variable.h"
#include "script/Variables.h"

extern char** environ;

namespace {

// The one object the signal handler may reach; it only sets a flag there.
CGISorn* signal_target = nullptr;

extern "C" void CGISornSignalHandler(int) {
  if (signal_target != nullptr) signal_target->Signal();
}

}  // namespace

CGISorn::CGISorn(int argc, char** argv)
    : argc_(argc),
      argv_(argv),
      pathenv_(nullptr),
      signalled_(0),
      config_(nullptr),
      logfile_(nullptr),
      filemanager_(new UNIXFileManager(this)),
      networkmanager_(new CGINetworkManager(this)),
      output_(new StandardOutput(8192)),
      scriptuid_(-1),
      scriptgid_(-1),
      contenttype_("text/html"),
      ownerknown_(0),
      servermode_(0) {
  signal_target = this;
  // Without SA_RESTART a signal also breaks a blocking read or connect on a
  // silent peer, which has no time-out of its own: the web server's SIGTERM
  // then ends the walk, and the next tag sees the flag.
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = CGISornSignalHandler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;
  const int signals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};
  for (int s : signals) sigaction(s, &action, nullptr);

  basename_ = (argc > 0 && argv != nullptr && argv[0] != nullptr) ? argv[0] : "";
  while (basename_.contains('/')) basename_ = basename_.after("/");

  for (char** e = environ; e != nullptr && *e != nullptr; e++) {
    const char* eq = strchr(*e, '=');
    if (eq == nullptr) {
      environment_->SetVariable(*e, "");
    } else {
      String name(*e, (int)(eq - *e));
      environment_->SetVariable(name, eq + 1);
    }
  }
  Variable* pathinfo = environment_->Find("PATH_INFO");
  if (pathinfo != nullptr) redirectpath_ = pathinfo->value();
}

CGISorn::~CGISorn() {
  // Databases and states a script left open (an import, a walk) log their
  // closing, and the base class would free them only once this object's
  // log and files are gone. Databases first: they still use the parsers
  // of the modules.
  databases_.Dump();
  modules_.Dump();
  delete output_;
  delete networkmanager_;
  delete filemanager_;
  delete logfile_;
  logfile_ = nullptr;
  delete config_;
  if (pathenv_ != nullptr) {
    putenv((char*)"PATH=");
    delete[] pathenv_;
  }
  signal_target = nullptr;
}

Config* CGISorn::config() { return config_; }
FileManager* CGISorn::filemanager() { return filemanager_; }
NetworkManager* CGISorn::networkmanager() { return networkmanager_; }
LogFile* CGISorn::logfile() { return logfile_; }

CommerceHandler* CGISorn::ConstructCommerceHandler(CommerceMethod* method, ScriptParser* parser) {
  return new UNIXCommerceHandler(method, parser);
}
Output* CGISorn::output() { return output_; }
String CGISorn::lasterror() { return strerror(errno); }

String CGISorn::hostname() { return vars()->GetSystemVariableValue("SERVER_NAME"); }

int CGISorn::timedout() {
  if (signalled_) return 1;
  return deadline_ != 0 && deadline_ < time(0);
}

int CGISorn::GetConfigurationFile(String& path) {
  struct stat st;
  String program = (argc_ > 0 && argv_[0] != nullptr) ? argv_[0] : "";
  path = program + ".conf";
  if (stat(path.chars(), &st) == 0) return 1;

  String last = program;
  while (last.contains('/')) last = last.after("/");
  char cwd[4096];
  String directory = getcwd(cwd, sizeof cwd) != nullptr ? cwd : "";
  if (directory.empty() || directory[directory.length() - 1] != '/') directory.cat('/');
  path = directory + last + ".conf";
  if (stat(path.chars(), &st) == 0) return 1;

  path = "/etc/" + last + ".conf";
  return 1;
}

int CGISorn::LoadConfiguration() {
  delete config_;
  config_ = nullptr;
  String file;
  if (!GetConfigurationFile(file)) {
    Error(FatalError("Unable to locate configuration file"));
    return 0;
  }
  if (RunningSetUIDRoot()) servermode_ = 2;
  config_ = new UNIXConfig(this, servermode_ == 2);
  if (config_->ReadConfiguration(file) != 0) return 0;
  if (servermode_ == 0 && (!config_->authfile.empty() || !config_->authuserdir.empty())) servermode_ = 1;
  return 1;
}

int CGISorn::CheckConfiguration() {
  if (config_->ValidateConfiguration() != 0) return 0;
  if (config_->redirectonly && redirectpath_.empty()) {
    Error(FatalError("Sorn is configured for redirected use only"));
    return 0;
  }
  if (config_->serveruserid != -1 && config_->serveruserid != (int)getuid()) {
    Error(FatalError("The UID of the process which executed Sorn does not match the serveruserid configuration variable"));
    return 0;
  }
  return 1;
}

int CGISorn::ProcessConfiguration(const String& path, const String& name) {
  delete logfile_;
  EnablePackages();
  // The log exists on every request, so that callers only test the
  // pointer; it writes only when both keys are set.
  logfile_ = new UNIXLogFile(this, config_->loglevel);
  if (config_->loglevel != 0 && !config_->logfile.empty() && !logfile_->Open(config_->logfile)) {
    Error(ConfigurationError(config_, "Unable to open log file"));
    return 0;
  }
  if (!ProcessDataDirectory(name)) return 0;
  if (config_->loglevel != 0 && !config_->logfile.empty()) LookUpScriptOwner();
  logfile_->SetRequest(username_, scriptuid_, scriptgid_, path, datadirectory_);
  ApplyProcessLimits();
  SetPathVariable();
  return 1;
}

void CGISorn::EnablePackages() {
  SearchableList<Package> declared;
  while (packages_.Entries() > 0) declared.Insert(packages_.Remove(ListHead), ListTail);
  String code;
  for (int at = 0; !config_->packages.empty() && NextPiece(config_->packages, ',', at, code);) {
    code.StripWhitespace();
    Package* package = declared.Find(code.chars());
    if (package == nullptr) continue;
    declared.Remove(ListCurrent);
    packages_.Insert(package, ListTail);
  }
  // The packages that were not enabled go with declared.
}

void CGISorn::ApplyProcessLimits() {
  // A refused change leaves the priority as it was, which is no reason to
  // stop the request; errno is cleared so that no later message names it.
  if (config_->nice != 0 && nice(config_->nice) == -1) errno = 0;
  const struct {
    int resource;
    int limit;
  } limits[] = {
      {RLIMIT_CPU, config_->maxcpu},
      {RLIMIT_DATA, config_->maxdata},
      {RLIMIT_STACK, config_->maxstack},
  };
  for (const auto& l : limits) {
    if (l.limit == 0) continue;
    struct rlimit current;
    if (getrlimit(l.resource, &current) != 0) continue;
    // The soft limit stays as read, so a lower one stays in force; a hard
    // limit below it is refused by the system, and that is ignored.
    current.rlim_max = (rlim_t)l.limit;
    if (setrlimit(l.resource, &current) != 0) errno = 0;
  }
}

void CGISorn::SetPathVariable() {
  if (pathenv_ != nullptr) {
    putenv((char*)"PATH=");
    delete[] pathenv_;
  }
  String text = "PATH=" + config_->path;
  pathenv_ = new char[text.length() + 1];
  memcpy(pathenv_, text.chars(), (size_t)text.length() + 1);
  putenv(pathenv_);
}

Database* CGISorn::NewDatabase(const String& type, ScriptParser* parser, const String& name, String& error) {
  if (type.matches("xbase3")) return new XBaseDatabase(parser, name);
  return Sorn::NewDatabase(type, parser, name, error);
}
