// The parts of Sorn that build the script machinery: the request's
// variables, its modules, and the run of the main module at the end of Go.
#include "core/Sorn.h"

#include <sys/time.h>

#include <cstdlib>
#include <ctime>

#include "core/Config.h"
#include "core/Database.h"
#include "core/Error.h"
#include "script/Module.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"

Sorn::Sorn()
    : headerssent_(0),
      deadline_(0),
      vars_(nullptr),
      environment_(new VariableList(1)),
      currentmodule_(nullptr),
      language_("en-US"),
      defaultlanguage_("en-US"),
      defaultmacroencoding_(MacroEncodingNone),
      databases_(1),
      modules_(1) {
  vars_ = new Variables(this);
}

Sorn::~Sorn() {
  // Modules first: states still open in them hand back their variable frames.
  modules_.Dump();
  delete vars_;
  databases_.Dump();
  delete environment_;
}

int Sorn::Go() {
  String path, name, error;
  // The seed is time(0); gettimeofday, which the time variables call
  // anyway, gives the same seconds.
  struct timeval now;
  if (gettimeofday(&now, nullptr) != 0) now.tv_sec = time(0);
  srand((unsigned)now.tv_sec);
  if (!AddEnvironmentVariables()) return 0;
  if (!LoadConfiguration() || !CheckConfiguration()) return 0;
  if (!GetScriptInformation(path, name)) return 0;
  if (!ProcessConfiguration(path, name)) return 0;
  if (!AddSystemVariables() || !AddQueryArguments() || !AddQueryVariables() || !AddAPIVariables()) return 0;
  if (!StartHeaders(200)) return 0;
  headerssent_ = 1;
  if (config()->usecookies && !OutputCookie()) return 0;
  if (!EndHeaders()) return 0;

  Module* module = new Module(this);
  SetCurrentModule(module);
  if (!module->Open(path, name, error)) {
    Error(FatalError(error));
    currentmodule_ = nullptr;
    delete module;
    return 0;
  }
  modules_.Insert(module, ListTail);
  if (!AddContentVariables()) return 0;
  ResetGlobalTimeout();
  module->parser()->Parse();
  return 1;
}

void Sorn::AddSiteVariable(const String& name, const String& value) { vars_->AddSystemVariable(name, value); }

Module* Sorn::FindModule(const String& file, String& error) {
  String resolved;
  if (!ResolvePath(file, resolved, ScriptPath, error)) return nullptr;
  Module* module = modules_.Find(resolved);
  if (module != nullptr) return module;
  module = new Module(currentmodule_);
  if (!module->Open(resolved, file, error)) {
    delete module;
    return nullptr;
  }
  modules_.Insert(module, ListTail);
  return module;
}

const char* ElementName(const Module* module) { return module->name().chars(); }
