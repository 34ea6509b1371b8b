#include "script/Module.h"

#include "core/FileManager.h"
#include "core/LogFile.h"
#include "core/Sorn.h"
#include "core/Config.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"

Module::Module(Sorn* sorn) : sorn_(sorn), parent_(nullptr), expander_(nullptr), parser_(nullptr) {}

Module::Module(Module* parent)
    : sorn_(parent->sorn_), parent_(parent), expander_(nullptr), parser_(nullptr) {}

Module::~Module() {
  delete parser_;
  delete expander_;
}

int Module::Open(const String& path, const String& name, String& error) {
  delete parser_;
  delete expander_;
  parser_ = nullptr;
  expander_ = new MacroExpander(sorn_, sorn_->config()->templatebuffersize);
  LogFile* log = sorn_->logfile();
  if (!expander_->Open(path, name)) {
    if (log != nullptr) log->Log(LogFileError(path, "script", "opening", sorn_->filemanager()->error()));
    error = "Error opening '" + name + "': " + sorn_->filemanager()->error();
    return 0;
  }
  if (log != nullptr) log->Log(LogFileOpened(path, "script"));
  name_ = path;
  directory_ = String();
  char separator = sorn_->filemanager()->PathSeparator();
  for (int i = path.length() - 1; i >= 0; i--) {
    if (path[i] == separator) {
      directory_ = path.before(i);
      break;
    }
  }
  if (parent_ != nullptr)
    parser_ = new ScriptParser(parent_->parser(), expander_);
  else
    parser_ = new ScriptParser(sorn_, expander_);
  return 1;
}
