#include "script/ErrorHandler.h"

#include "core/Error.h"
#include "core/Sorn.h"
#include "script/TagIds.h"

ErrorHandler::ErrorHandler(Sorn* sorn, ScriptParser* parser)
    : sorn_(sorn), parser_(parser), erroroutputlevel_(0x7F000000), settings_(1) {
  const int always[] = {ErrorLevelExpression, ErrorLevelSyntax, ErrorLevelTimeout, ErrorLevelCallDepth};
  for (int level : always) Set(level, 1, 1);
  // File, database and mail failures are shown but let the script go on.
  const int nonfatal[] = {TagIMPORT, TagEXPORT, TagFILE, TagMAIL, TagSnIMPORT, TagSnEXPORT, TagSnPOP,
                          TagSnPOPDELETE, TagSnSMTP, TagSnOPEN, TagSnCLOSE, TagSnSKIP, TagSnGO, TagSnFIND,
                          TagSnSETINDEX, TagSnUPDATE, TagSnDELETE, TagSnUNDELETE, TagSnADD, TagSnPACK,
                          TagSnREINDEX, TagSnCREATE, TagSnREVEALSTRUCTURE, TagSnOPENVIEW, TagSnCLOSEVIEW,
                          TagSnQUERY, TagSnFILTER};
  for (int id : nonfatal) Set(ErrorLevelRuntime + id, 0, 1);
}

ErrorHandler::ErrorHandler(ErrorHandler* other)
    : sorn_(other->sorn_),
      parser_(other->parser_),
      erroroutputlevel_(other->erroroutputlevel_),
      errormessage_(other->errormessage_),
      settings_(1) {
  other->settings_.Walk([this](ErrorSettings* s) { Set(s->level, s->fatal, s->display); });
}

void ErrorHandler::Set(int level, int fatal, int display) {
  settings_.Insert(new ErrorSettings{level, fatal, display});
}

ErrorSettings* ErrorHandler::GetErrorSettings(int level) {
  ErrorSettings* s = settings_.Find(level);
  if (s == nullptr) {
    s = new ErrorSettings{level, 1, 1};
    settings_.Insert(s);
  }
  return s;
}

int ErrorHandler::Error(int level, const class Error& error) {
  ErrorSettings* s = GetErrorSettings(level);
  int answer = s->fatal > 0 ? 0 : 1;
  if (!errormessage_.empty()) sorn_->Error(errormessage_);
  unsigned top = (unsigned)level & 0xFF000000u;
  if ((level & ErrorLevelAlwaysShown) || (s->display && (top & (unsigned)erroroutputlevel_) != 0))
    sorn_->Error(error);
  return answer;
}

int ErrorHandler::SetErrorOutputLevel(int level) {
  int old = erroroutputlevel_;
  erroroutputlevel_ = level;
  return old;
}

String ErrorHandler::SetErrorMessage(const String& message) {
  String old = errormessage_;
  errormessage_ = message;
  return old;
}

void ErrorHandler::SetFatal(int level, int fatal) { GetErrorSettings(level)->fatal = fatal; }

void ErrorHandler::SetDisplay(int level, int display) { GetErrorSettings(level)->display = display; }
