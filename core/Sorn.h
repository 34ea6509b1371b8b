// Sorn: the host-independent core of one request. Every subsystem reaches
// configuration, output, files, variables and error reporting through it;
// CGISorn (host/) supplies what touches CGI and Unix.
#ifndef SORN_CORE_SORN_H
#define SORN_CORE_SORN_H

#include <ctime>

#include "core/CommerceMethod.h"
#include "core/List.h"
#include "core/Package.h"
#include "core/String.h"

class CommerceHandler;
class Config;
class Database;
class DatabaseView;
class Error;
class FileManager;
class LogFile;
class Module;
class NetworkManager;
class Output;
class ScriptParser;
class Variable;
class VariableList;
class Variables;

enum PathType { DataPath = 0, ScriptPath = 1, TemporaryPath = 2 };
enum MacroEncoding { MacroEncodingNone = 0, MacroEncodingAttribute = 1, MacroEncodingEntities = 2 };

const char* ElementName(const Module* module);
const char* ElementName(const Database* database);

class Sorn {
 public:
  Sorn();
  virtual ~Sorn();
  Sorn(const Sorn&) = delete;
  Sorn& operator=(const Sorn&) = delete;

  // The fixed steps of one request; 1 once the script was started.
  virtual int Go();
  virtual int LoadConfiguration() = 0;
  virtual int CheckConfiguration() = 0;
  virtual int GetScriptInformation(String& path, String& name) = 0;
  virtual int ProcessConfiguration(const String& path, const String& name) = 0;
  virtual int AddEnvironmentVariables() = 0;
  virtual int AddSystemVariables();
  virtual int AddAPIVariables() = 0;
  virtual int AddQueryArguments() = 0;
  virtual int AddQueryVariables() = 0;
  virtual int StartHeaders(int status) = 0;
  virtual int OutputCookie() = 0;
  virtual int EndHeaders() = 0;
  virtual int AddContentVariables();
  virtual int ResetGlobalTimeout();
  virtual String RequestHeader(const String& name) = 0;
  // Reads up to size bytes of the request body; -1 on failure.
  virtual int ReadContent(char* buffer, int size) = 0;
  virtual Config* config() = 0;
  // The event log; null until the configuration has been processed.
  virtual LogFile* logfile() = 0;
  virtual FileManager* filemanager() = 0;
  virtual NetworkManager* networkmanager() = 0;
  virtual String basename() = 0;
  virtual String hostname() = 0;
  virtual String currentdate() = 0;
  virtual int timedout() = 0;
  virtual int timeremaining();
  virtual String lasterror() = 0;
  virtual Output* output() = 0;
  virtual String BuildCookie(const String& cookie);
  virtual String Crypt(const String& text, const String& salt) = 0;
  virtual String MakeSessionID() = 0;
  // The one gate of every path a script names: 1 with result set, or 0
  // with message set. Reports nothing itself.
  virtual int ResolvePath(const String& path, String& result, PathType type, String& message) = 0;
  virtual const String& language() { return language_; }
  virtual void SetLanguage(const String& language) { language_ = language; }
  virtual const String& defaultlanguage() { return defaultlanguage_; }
  virtual void SetDefaultLanguage(const String& language) { defaultlanguage_ = language; }
  virtual MacroEncoding defaultmacroencoding() { return defaultmacroencoding_; }
  virtual void SetDefaultMacroEncoding(MacroEncoding e) { defaultmacroencoding_ = e; }
  // Writes the error (and the header block first, if none went out yet).
  virtual void Error(const class Error& error);
  virtual void Error(const String& text);
  virtual void AddSiteVariable(const String& name, const String& value);
  virtual Variables* vars() { return vars_; }
  virtual VariableList* environment() { return environment_; }
  // The open databases; the head is the primary one. AddDatabase puts a
  // database at the head and takes it over; RemoveDatabase unlinks it and
  // hands it back to the caller.
  virtual void AddDatabase(Database* database);
  virtual void RemoveDatabase(Database* database);
  virtual Database* FindDatabase(const String& name);
  virtual Database* PrimaryDB();
  virtual void SetPrimaryDB(Database* database);
  // The first view of that name over all open databases, in list order.
  virtual DatabaseView* FindDatabaseView(const String& alias);
  virtual SearchableList<Database>* databases() { return &databases_; }
  // A new database object of the named type, or null with error set to
  // "Unsupported database type '{type}'". The host supplies the drivers.
  virtual Database* NewDatabase(const String& type, ScriptParser* parser, const String& name, String& error);
  // The module of that path, opened once; null with error set on failure.
  virtual Module* FindModule(const String& path, String& error);
  virtual void SetCurrentModule(Module* module) { currentmodule_ = module; }
  virtual Module* currentmodule() { return currentmodule_; }
  virtual SearchableList<Module>* modules() { return &modules_; }
  virtual const char* HTTPResultMessage(int status);
  // Declarations of the configuration, kept at the end of their lists.
  virtual void AddCommerceHandler(const String& method, const String& library);
  virtual void AddPackage(const String& code, const String& name, const String& description,
                          const String& version, const String& path, const String& defaultpath);
  virtual SearchableList<CommerceMethod>* commercemethods() { return &commercemethods_; }
  // The handler of a declared method, owned by the caller; null with
  // message set when the method is not declared or cannot be run here.
  virtual CommerceHandler* NewCommerceHandler(const String& name, ScriptParser* parser, String& message);
  // Makes the host's kind of handler; this core has no loader, so null.
  virtual CommerceHandler* ConstructCommerceHandler(CommerceMethod* method, ScriptParser* parser);
  virtual SearchableList<Package>* packages() { return &packages_; }

  int headerssent() const { return headerssent_; }

  // Text codings used by macros, built-ins and the request parsers; each
  // rewrites its argument in place and stops at the end of the text.
  static void EncodeAttribute(String& text);
  static void DecodeAttribute(String& text);
  static void EncodeEntities(String& text);
  static void DecodeEntities(String& text);
  static String HexValue(const unsigned char c);

 protected:
  int headerssent_;
  time_t deadline_;
  Variables* vars_;
  VariableList* environment_;
  Module* currentmodule_;
  String language_;
  String defaultlanguage_;
  MacroEncoding defaultmacroencoding_;
  SearchableList<Database> databases_;
  SearchableList<Module> modules_;
  SearchableList<CommerceMethod> commercemethods_;
  SearchableList<Package> packages_;
};

#endif
