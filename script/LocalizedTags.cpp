// SnLOCALIZED and the states of its block and its variants.
#include <string>

#include "core/Buffer.h"
#include "core/Output.h"
#include "core/Sorn.h"
#include "script/LocalizedStates.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

namespace {

int UnexpectedTag(ScriptParser* parser, Tag* tag) {
  parser->SyntaxError("Unexpected &lt;" + *tag + "&gt;");
  return StateFailure;
}

}  // namespace

int ScriptState::ProcessSnLOCALIZED(Tag* tag) {
  int level = LocalizedState::kNoLevel;
  int errorlevel = LocalizedState::kNoErrorLevel;
  NameValuePair* p;
  if ((p = tag->Find("STANDARDOUTPUTLEVEL")) != nullptr)
    level = ScriptParser::StandardOutputLevelValue(p->value);
  if ((p = tag->Find("ERROROUTPUTLEVEL")) != nullptr)
    errorlevel = ScriptParser::ErrorOutputLevelValue(p->value);
  parser_->states().Push(
      new LocalizedState(this, tag, tag->Value("NAME"), tag->Value("ID"), level, errorlevel));
  return StateHandled;
}

LocalizedState::LocalizedState(ScriptState* parent, Tag* tag, const String& name, const String& id, int level,
                               int errorlevel)
    : ScriptState(parent, tag),
      name_(name),
      id_(id),
      tokens_(1),
      matched_(0),
      defaultseen_(0),
      defaultposition_(0),
      defaultline_(0),
      savedlevel_(kNoLevel),
      savederrorlevel_(kNoErrorLevel),
      levelchanged_(0),
      errorlevelchanged_(0) {
  if (level == kNoLevel && !name_.empty()) level = OutputHTML | OutputText | OutputCompressWhitespace;
  if (level != kNoLevel) {
    savedlevel_ = parser_->SetStandardOutputLevel(level);
    levelchanged_ = 1;
  }
  if (errorlevel != kNoErrorLevel) {
    savederrorlevel_ = parser_->SetErrorOutputLevel(errorlevel);
    errorlevelchanged_ = 1;
  }
}

// A block dropped without ExitState (a function call that failed) must
// not leave its levels behind.
LocalizedState::~LocalizedState() { RestoreLevels(); }

void LocalizedState::RestoreLevels() {
  if (levelchanged_) parser_->SetStandardOutputLevel(savedlevel_);
  if (errorlevelchanged_) parser_->SetErrorOutputLevel(savederrorlevel_);
  levelchanged_ = errorlevelchanged_ = 0;
}

int LocalizedState::ProcessTag(Tag* tag) {
  switch (tag->id()) {
    case TagSnLOCALIZEDTOKEN:
      return ProcessSnLOCALIZED_TOKEN(tag);
    case TagSnLOCALIZEDTEXT:
      return ProcessSnLOCALIZED_TEXT(tag);
    case TagEndSnLOCALIZED:
      if (matched_ || !defaultseen_) return StateLeave;
      // The rest of the block is read a second time behind the default
      // variant; the matched flag makes the closing tag leave then.
      matched_ = 1;
      parser_->buffer()->Seek(defaultposition_);
      parser_->SetLine(defaultline_);
      parser_->states().Push(new LocalizedTextState(this, nullptr, name_, &tokens_));
      return StateHandled;
    default:
      return UnexpectedTag(parser_, tag);
  }
}

int LocalizedState::ExitState() {
  RestoreLevels();
  return StateHandled;
}

int LocalizedState::ProcessSnLOCALIZED_TOKEN(Tag* tag) {
  tokens_.SetVariable(tag->Value("NAME"), tag->Value("VALUE"));
  return StateHandled;
}

int LocalizedState::ProcessSnLOCALIZED_TEXT(Tag* tag) {
  String language = tag->Value("LANGUAGE");
  Sorn* sorn = parser_->sorn();
  if (language.matches(sorn->language())) {
    matched_ = 1;
    parser_->states().Push(new LocalizedTextState(this, tag, name_, &tokens_));
    return StateHandled;
  }
  if (!defaultseen_ && language.matches(sorn->defaultlanguage())) {
    defaultseen_ = 1;
    defaultposition_ = parser_->buffer()->CurrentFilePosition();
    defaultline_ = parser_->line();
  }
  TagTable targets(1);
  targets.Insert(new Tag("SnLOCALIZED-TEXT", TagSnLOCALIZEDTEXT, TagEndSnLOCALIZEDTEXT));
  targets.Insert(new Tag("/SnLOCALIZED-TEXT", TagEndSnLOCALIZEDTEXT, 0));
  Tag* found = nullptr;
  int result = parser_->FindTag(&found, &targets);
  delete found;
  if (result == ScanEndOfFile) {
    parser_->SyntaxError("Unexpected end of file looking for &lt;/SnLOCALIZED-TEXT&gt;");
    return StateFailure;
  }
  return result == ScanDone ? StateHandled : StateFailure;
}

LocalizedTextState::LocalizedTextState(ScriptState* parent, Tag* tag, const String& name,
                                       VariableTree* tokens)
    : ScriptState(parent, tag), name_(name), savedoutput_(nullptr), capture_(nullptr), tokens_(tokens) {
  if (name_.empty()) return;
  capture_ = new StringOutput(8192);
  savedoutput_ = parser_->SwitchOutput(capture_);
}

LocalizedTextState::~LocalizedTextState() {
  RestoreOutput();
  delete capture_;
}

void LocalizedTextState::RestoreOutput() {
  if (savedoutput_ == nullptr) return;
  parser_->SwitchOutput(savedoutput_);
  savedoutput_ = nullptr;
}

int LocalizedTextState::ProcessTag(Tag* tag) {
  if (tag->id() == TagEndSnLOCALIZEDTEXT) return StateLeave;
  return UnexpectedTag(parser_, tag);
}

// %% | %name% | %name up to the end of the text
String LocalizedTextState::ReplaceTokens(const String& text, VariableTree* tokens) {
  std::string result;
  int length = text.length();
  for (int i = 0; i < length; i++) {
    char c = text[i];
    if (c != '%') {
      result.push_back(c);
      continue;
    }
    if (i + 1 < length && text[i + 1] == '%') {
      result.push_back('%');
      i++;
      continue;
    }
    int end = i + 1;
    while (end < length && text[end] != '%') end++;
    Variable* token = tokens->Find(text.at(i + 1, end));
    if (token != nullptr) result.append(token->value().chars(), token->value().length());
    i = end;
  }
  return String(result.data(), (int)result.size());
}

int LocalizedTextState::ProcessText(String& text, int level) {
  if (!(level & OutputText)) return StateHandled;
  Output* out = parser_->output();
  if (level & OutputCompressWhitespace) {
    text.CompressWhitespace();
    if (out->inwhitespace()) text.ltrim();
  }
  if (text.empty()) return StateHandled;
  if (text.contains('%')) text = ReplaceTokens(text, tokens_);
  if (text.empty()) return StateHandled;
  out->inwhitespace() = IsWhite(text[text.length() - 1]);
  out->Write(text);
  return StateHandled;
}

int LocalizedTextState::ExitState() {
  if (!name_.empty() && capture_ != nullptr) {
    capture_->Flush();
    parser_->vars()->SetVariable(name_, capture_->string());
  }
  RestoreOutput();
  return StateHandled;
}
