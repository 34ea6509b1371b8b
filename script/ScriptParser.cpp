#include "script/ScriptParser.h"

#include <cctype>
#include <cstring>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/FileManager.h"
#include "core/Keys.h"
#include "core/Output.h"
#include "core/Sorn.h"
#include "script/Builtins.h"
#include "script/ErrorHandler.h"
#include "script/Expression.h"
#include "script/MacroExpander.h"
#include "script/ScriptState.h"
#include "script/TagIds.h"
#include "script/Variables.h"

namespace {

// The supported tags, in table order. Attributes: comma-separated names, a
// '!' marks a required one, "=text" gives a default.
struct TagRow {
  const char* name;
  int id;
  int closingid;
  const char* attributes;
};

const TagRow kTags[] = {
    {"IF", TagIF, TagEndIF, ""},
    {"/IF", TagEndIF, 0, ""},
    {"IMPORT", TagIMPORT, TagEndIMPORT, ""},
    {"/IMPORT", TagEndIMPORT, 0, ""},
    {"EXPORT", TagEXPORT, 0, ""},
    {"LET", TagLET, 0, ""},
    {"EVAL", TagEVAL, 0, ""},
    {"EVALUATE", TagEVAL, 0, ""},
    {"HIDE", TagHIDE, 0, ""},
    {"FILE", TagFILE, 0, ""},
    {"MAIL", TagMAIL, TagEndMAIL, ""},
    {"/MAIL", TagEndMAIL, 0, ""},
    {"WHILE", TagWHILE, TagEndWHILE, ""},
    {"/WHILE", TagEndWHILE, 0, ""},
    {"CALL", TagCALL, TagEndCALL, ""},
    {"/CALL", TagEndCALL, 0, ""},
    {"LOOMTEXT", TagLOOMTEXT, 0, ""},
    {"EXIT", TagEXIT, 0, ""},
    {"SnIF", TagSnIF, TagEndSnIF, ""},
    {"SnELSE", TagSnELSE, TagEndSnIF, ""},
    {"/SnIF", TagEndSnIF, 0, ""},
    {"SnIMPORT", TagSnIMPORT, TagEndSnIMPORT, "FILE!,FIELDS!,DELIMITER!"},
    {"SnIMPORTSTOP", TagSnIMPORTSTOP, 0, ""},
    {"/SnIMPORT", TagEndSnIMPORT, 0, ""},
    {"SnEXPORT", TagSnEXPORT, 0, "FILE!,FIELDS!,DELIMITER!"},
    {"SnLET", TagSnLET, 0, ""},
    {"SnASSIGN", TagSnASSIGN, 0, "NAME!,VALUE!"},
    {"SnEVAL", TagSnEVAL, 0, ""},
    {"SnEVALUATE", TagSnEVAL, 0, ""},
    {"SnHIDE", TagSnHIDE, 0, "FIELDS!"},
    {"SnPOP", TagSnPOP, TagEndSnPOP, "LOGIN!,PASSWORD!,DIRECTORY!,MAILHOST!"},
    {"SnPOPSTOP", TagSnPOPSTOP, 0, ""},
    {"SnPOPDELETE", TagSnPOPDELETE, 0, ""},
    {"/SnPOP", TagEndSnPOP, 0, ""},
    {"SnSMTP", TagSnSMTP, TagEndSnSMTP, "FROM!,TO!,MAILHOST!,SUBJECT=(no subject),CC"},
    {"/SnSMTP", TagEndSnSMTP, 0, ""},
    {"SnWHILE", TagSnWHILE, TagEndSnWHILE, ""},
    {"SnWHILESTOP", TagSnWHILESTOP, 0, ""},
    {"/SnWHILE", TagEndSnWHILE, 0, ""},
    {"SnCALL", TagSnCALL, TagEndSnCALL, "ACTION!,METHOD!,FIELDS,FILES"},
    {"SnCALLSTOP", TagSnCALLSTOP, 0, ""},
    {"/SnCALL", TagEndSnCALL, 0, ""},
    {"SnFUNCTION", TagSnFUNCTION, TagEndSnFUNCTION, "NAME!,PARAMETERS"},
    {"SnFUNCRETURN", TagSnFUNCRETURN, 0, "VALUE"},
    {"SnFUNCTIONRETURN", TagSnFUNCRETURN, 0, "VALUE"},
    {"/SnFUNCTION", TagEndSnFUNCTION, 0, ""},
    {"SnCOMMERCE", TagSnCOMMERCE, TagEndSnCOMMERCE, "ACTION,FIELDS"},
    {"SnCOMMERCESTOP", TagSnCOMMERCESTOP, 0, ""},
    {"/SnCOMMERCE", TagEndSnCOMMERCE, 0, ""},
    {"SnCOMMENT", TagSnCOMMENT, TagEndSnCOMMENT, ""},
    {"/SnCOMMENT", TagEndSnCOMMENT, 0, ""},
    {"SnEXIT", TagSnEXIT, 0, ""},
    {"SnDO", TagSnDO, 0, "FILE!"},
    {"SnLOCKFILE", TagSnLOCKFILE, TagEndSnLOCKFILE, "FILE!"},
    {"/SnLOCKFILE", TagEndSnLOCKFILE, 0, ""},
    {"SnLOCALIZED", TagSnLOCALIZED, TagEndSnLOCALIZED, "NAME,ID"},
    {"/SnLOCALIZED", TagEndSnLOCALIZED, 0, ""},
    {"SnLOCALIZED-TOKEN", TagSnLOCALIZEDTOKEN, 0, "NAME!,VALUE!"},
    {"SnLOCALIZED-TEXT", TagSnLOCALIZEDTEXT, TagEndSnLOCALIZEDTEXT, "LANGUAGE!"},
    {"/SnLOCALIZED-TEXT", TagEndSnLOCALIZEDTEXT, 0, ""},
    {"SnOPEN", TagSnOPEN, 0, "NAME!,TYPE=xbase3,DATABASE!,USER,PASSWORD,INDEXES"},
    {"SnCLOSE", TagSnCLOSE, 0, "NAME"},
    {"SnSKIP", TagSnSKIP, 0, "NAME,VIEW,ROWS=1"},
    {"SnGO", TagSnGO, 0, "NAME,VIEW,ROW!"},
    {"SnPRIMARY", TagSnPRIMARY, 0, "NAME!"},
    {"SnFIND", TagSnFIND, 0, "NAME,VIEW,VALUE!"},
    {"SnSETINDEX", TagSnSETINDEX, 0, "NAME,VIEW,INDEXES!"},
    {"SnUPDATE", TagSnUPDATE, 0, "NAME,VIEW"},
    {"SnDELETE", TagSnDELETE, 0, "NAME,VIEW"},
    {"SnUNDELETE", TagSnUNDELETE, 0, "NAME,VIEW"},
    {"SnADD", TagSnADD, 0, "NAME,VIEW"},
    {"SnMAKEINDEX", TagSnMAKEINDEX, 0, "NAME,INDEXFILE!,FLAGS=ascending"},
    {"SnPACK", TagSnPACK, 0, "NAME"},
    {"SnREINDEX", TagSnREINDEX, 0, "NAME"},
    {"SnCREATE", TagSnCREATE, 0, "NAME!,TYPE=xbase3,DATABASE!,FIELDS!"},
    {"SnREVEALSTRUCTURE", TagSnREVEALSTRUCTURE, 0, "NAME,VIEW,DATABASE!"},
    {"SnOPENVIEW", TagSnOPENVIEW, 0, "NAME,VIEW!,QUERY"},
    {"SnCLOSEVIEW", TagSnCLOSEVIEW, 0, "NAME,VIEW"},
    {"SnQUERY", TagSnQUERY, 0, "NAME,QUERY!"},
    {"SnFILTER", TagSnFILTER, 0, "NAME,VIEW,FILTER"},
    {"SORN", TagSORN, 0, ""},
};

Tag* MakeTemplate(const TagRow& row) {
  Tag* tag = new Tag(row.name, row.id, row.closingid);
  String rest(row.attributes);
  while (!rest.empty()) {
    String item = rest.before(",");
    rest = rest.after(",");
    int required = 0;
    String value;
    if (item.contains('=')) {
      value = item.after("=");
      item = item.before("=");
    }
    if (item.contains('!')) {
      required = 1;
      item = item.before("!");
    }
    tag->AddNameValuePair(item, value, required);
  }
  return tag;
}

// The row of a tag name, ignoring case. Most names met are HTML tags that
// are not in the table; the first letter and the length turn them away
// before any full comparison.
const TagRow* FindRow(const String& name) {
  int first = UpperASCII((unsigned char)name[0]);
  for (const TagRow& row : kTags) {
    if (UpperASCII((unsigned char)row.name[0]) != first || (int)strlen(row.name) != name.length()) continue;
    if (CompareKeys(row.name, name.chars()) == 0) return &row;
  }
  return nullptr;
}

// Calls visit on each comma-separated word of list, stripped.
template <class F>
void ForEachWord(const String& list, F visit) {
  String word;
  for (int at = 0; NextPiece(list, ',', at, word);) {
    word.StripWhitespace();
    visit(word);
  }
}

}  // namespace

ScriptParser::ScriptParser(Sorn* sorn, MacroExpander* expander) : ScriptParser(sorn, expander, nullptr) {}

// A called module's parser starts afresh but for the error policy, which
// is a copy of its caller's.
ScriptParser::ScriptParser(ScriptParser* parent, MacroExpander* expander)
    : ScriptParser(parent->sorn(), expander, parent) {}

ScriptParser::ScriptParser(Sorn* sorn, MacroExpander* expander, ScriptParser* parent)
    : Parser(sorn, expander),
      parent_(parent),
      output_(sorn->output()),
      flatfile_(nullptr),
      errorhandler_(parent ? new ErrorHandler(parent->errorhandler_) : new ErrorHandler(sorn, this)),
      lookahead_(-1),
      basestate_(new ScriptState(this, nullptr)),
      states_(1),
      vars_(sorn->vars()),
      functions_(1),
      interpret_(InterpretMacros | InterpretTags),
      outputlevel_(OutputHTML | OutputText),
      depth_(0),
      recording_(nullptr) {
  states_.Push(basestate_);
  SetupSupportedTags();
}

ScriptParser::~ScriptParser() {
  // States may hold the shared flat file: they go first.
  states_.Dump();
  DeleteFlatFile();
  delete errorhandler_;
}

// Building all templates up front costs more than a short page needs, so
// the tree fills as names are met; FindTemplate is the only way in.
void ScriptParser::SetupSupportedTags() {}

Tag* ScriptParser::FindTemplate(const String& name) {
  Tag* tag = tags_.Find(name);
  if (tag != nullptr) return tag;
  const TagRow* row = FindRow(name);
  if (row == nullptr) return nullptr;
  tag = MakeTemplate(*row);
  tags_.Insert(tag);
  return tag;
}

void ScriptParser::SetupBuiltinFunctions() {
  if (builtinsdeclared_) return;
  builtinsdeclared_ = 1;
  int count;
  const BuiltinDescriptor* table = BuiltinTable(&count);
  for (int i = 0; i < count; i++)
    functions_.Insert(new BuiltinFunction(table[i].name, table[i].parameters, table[i].proc));
}

MacroExpander* ScriptParser::expander() { return static_cast<MacroExpander*>(buffer_); }

void ScriptParser::SetTagDetect(int on) {
  interpret_ = on ? (interpret_ | InterpretTags) : (interpret_ & ~InterpretTags);
}

void ScriptParser::SetExpandMacros(int on) {
  interpret_ = on ? (interpret_ | InterpretMacros) : (interpret_ & ~InterpretMacros);
  buffer_->SetExpandMacros(on ? 1 : 0);
}

void ScriptParser::SetInterpret(const String& list) {
  interpret_ = 0;
  ForEachWord(list, [this](const String& word) {
    if (word.matches("macros")) interpret_ |= InterpretMacros;
    if (word.matches("tags")) interpret_ |= InterpretTags;
  });
  buffer_->SetExpandMacros(interpret_ & InterpretMacros);
}

int ScriptParser::SetStandardOutputLevel(int level) {
  int old = outputlevel_;
  outputlevel_ = level;
  return old;
}

int ScriptParser::SetErrorOutputLevel(int level) { return errorhandler_->SetErrorOutputLevel(level); }

int ScriptParser::erroroutputlevel() const { return errorhandler_->erroroutputlevel(); }

void ScriptParser::SetErrorMessage(const String& message) { errorhandler_->SetErrorMessage(message); }

int ScriptParser::StandardOutputLevelValue(const String& list) {
  int level = 0;
  if (list.empty()) return 0;
  ForEachWord(list, [&level](const String& word) {
    if (word.matches("sorn")) level |= OutputSorn;
    if (word.matches("html")) level |= OutputHTML;
    if (word.matches("text")) level |= OutputText;
    if (word.matches("compresswhitespace")) level |= OutputCompressWhitespace;
  });
  return level;
}

int ScriptParser::ErrorOutputLevelValue(const String& list) {
  int level = 0;
  if (list.empty()) return 0;
  ForEachWord(list, [&level](const String& word) {
    if (word.matches("syntax")) level |= ErrorLevelSyntax;
    if (word.matches("expression")) level |= ErrorLevelExpression;
    if (word.matches("runtime")) level |= ErrorLevelRuntime;
  });
  return level;
}

void ScriptParser::SetDefaultMacroEncoding(const String& name) {
  MacroEncoding encoding = MacroEncodingNone;
  if (name.matches("entities"))
    encoding = MacroEncodingEntities;
  else if (name.matches("attribute"))
    encoding = MacroEncodingAttribute;
  sorn_->SetDefaultMacroEncoding(encoding);
}

void ScriptParser::SetTagErrorSettings(const String& name, const String& list) {
  Tag* tag = FindTemplate(name);
  if (tag == nullptr) return;
  ErrorSettings* settings = errorhandler_->GetErrorSettings(ErrorLevelRuntime + tag->id());
  ForEachWord(list, [settings](const String& word) {
    if (word.matches("fatal")) settings->fatal = 1;
    if (word.matches("nonfatal")) settings->fatal = 0;
    if (word.matches("display")) settings->display = 1;
    if (word.matches("nodisplay")) settings->display = 0;
  });
}

Output* ScriptParser::SwitchOutput(Output* output) {
  Output* old = output_;
  output_ = output;
  return old;
}

void ScriptParser::SyntaxError(const String& message) {
  errorhandler_->Error(ErrorLevelSyntax, ::SyntaxError(buffer_->name(), line_, message));
}

void ScriptParser::ExpressionError(const String& message) {
  errorhandler_->Error(ErrorLevelExpression, ::ExpressionError(buffer_->name(), line_, message));
}

int ScriptParser::RuntimeError(Tag* tag, const String& message) {
  return errorhandler_->Error(ErrorLevelRuntime + tag->id(), ::RuntimeError(buffer_->name(), line_, *tag, message));
}

int ScriptParser::CheckTimeout() {
  if (!sorn_->timedout()) return 0;
  errorhandler_->Error(ErrorLevelTimeout, TimeoutError("Application"));
  return 1;
}

int ScriptParser::GetNameValuePairs(Tag* tag) {
  switch (tag->id()) {
    case TagIF:
    case TagEVAL: {
      Expression expression(this);
      int result = expression.GetNextExpression(' ', '>', '"', 1);
      String value;
      if (!result || !expression.Resolve(value)) return ScanFailure;
      tag->AddNameValuePair("", value, 0);
      return ScanStop;
    }
    case TagHIDE: {
      String text;
      if (!EatUntil(text, '>', "&gt;")) return ScanFailure;
      text.truncate(text.length() - 1);
      text.StripWhitespace();
      tag->AddNameValuePair("", text, 0);
      return ScanStop;
    }
    case TagIMPORT:
    case TagEXPORT:
      return GetFlatFileNameValuePairs(tag);
    case TagWHILE: {
      tag->SetPosition(buffer_->CurrentFilePosition(), line_);
      String text;
      if (!EatUntil(text, '>', "&gt;")) return ScanFailure;
      String word = text.before(">");
      word.StripWhitespace();
      if (word == "STOP") tag->AddNameValuePair("STOP", "", 0);
      return ScanStop;
    }
    default:
      return Parser::GetNameValuePairs(tag);
  }
}

int ScriptParser::GetFlatFileNameValuePairs(Tag* tag) {
  int result;
  while ((result = GetNextFlatFileNameValuePair(tag)) == ScanContinue) {
  }
  return result;
}

// name | name=value | WHERE expression>
int ScriptParser::GetNextFlatFileNameValuePair(Tag* tag) {
  String white;
  String eof = "Unexpected end of file in &lt;" + *tag + "&gt;";
  if (EatWhitespace(white) == ScanEndOfFile) {
    ScanError(eof);
    return ScanFailure;
  }
  int c = buffer_->GetNextChar();
  if (c == '>') return ScanStop;
  String name;
  for (; c != -1 && c != '>' && c != '=' && !IsWhite(c); c = buffer_->GetNextChar()) name.cat((char)c);
  if (c == -1) {
    ScanError(eof);
    return ScanFailure;
  }
  buffer_->UnGetChar();
  if (name.matches("WHERE")) {
    tag->AddNameValuePair(name, String(), 0);
    tag->SetPosition(buffer_->CurrentFilePosition(), line_);
    String rest;
    return EatUntil(rest, '>', "&gt;") ? ScanStop : ScanFailure;
  }
  if (EatWhitespace(white) == ScanEndOfFile) {
    ScanError(eof);
    return ScanFailure;
  }
  c = buffer_->GetNextChar();
  if (c == '>') {
    tag->AddNameValuePair(name, name, 0);
    return ScanStop;
  }
  if (c != '=') {
    buffer_->UnGetChar();
    tag->AddNameValuePair(name, name, 0);
    return ScanContinue;
  }
  if (EatWhitespace(white) == ScanEndOfFile) {
    ScanError(eof);
    return ScanFailure;
  }
  String value;
  int result = GetValue(tag, name, value);
  if (result) tag->AddNameValuePair(name, value, 0);
  return result;
}

int ScriptParser::GetValue(Tag* tag, const String& name, String& value) {
  if ((tag->id() == TagIMPORT || tag->id() == TagEXPORT) && name.matches("ORDER")) {
    String text;
    int result = EatUntil(text, '>', "&gt;");
    text = text.before(">");
    if (text.matches('"', 0) && !text.empty()) text = text.after(0).before("\"");
    value = text;
    return result;
  }
  TagCache::Entry* recording = recording_;
  long position = buffer_->CurrentFilePosition();
  int line = line_;
  Expression* expression = new Expression(this);
  int check = tag->id() == TagSnDO && name.matches("VALUE") ? 0 : 1;
  int status = expression->GetNextExpression(' ', '>', '"', check);
  int result = status == 2 || status == 5 ? ScanContinue : status == 3 || status == 4 ? ScanStop : ScanFailure;
  if (result == ScanFailure) {
    delete expression;
    return result;
  }

  int id = tag->id();
  TagCache::Attribute kept{name, String(), nullptr, 0};
  if ((id == TagSnMAKEINDEX && (name.matches("EXPRESSION") || name.matches("EXPR"))) ||
      (id == TagSnFILTER && name.matches("FILTER")) || (id == TagSnDO && name.matches("VALUE"))) {
    expression->Tokenize(value);
    kept.value = value;
  } else if ((id == TagSnIMPORT && name.matches("FILTER")) || id == TagSnWHILE) {
    value = String();
    tag->SetPosition(position, line);
    kept.setsposition = 1;
    if (recording != nullptr) {
      recording->expressionposition = position;
      recording->expressionline = line;
    }
  } else {
    if (!expression->Resolve(value)) {
      delete expression;
      return ScanFailure;
    }
    kept.expression = expression;
    expression = nullptr;
  }
  if (recording != nullptr)
    recording->attributes.push_back(kept);
  else
    delete kept.expression;
  delete expression;
  return result;
}

int ScriptParser::ProcessEmptyValue(Tag* tag, const String& name, String& value) {
  int id = tag->id();
  if (id == TagSnIF || id == TagSnEVAL || id == TagSnWHILE) {
    ::SyntaxError error(buffer_->name(), line_,
                        "Attributes with empty values are not allowed in &lt;" + *tag +
                            "&gt;<BR>(you have probably omitted EXPR= in front of your expression)");
    errorhandler_->Error(ErrorLevelSyntax, error);
    return 0;
  }
  if (!Parser::ProcessEmptyValue(tag, name, value)) return 0;
  if (recording_ != nullptr) recording_->attributes.push_back(TagCache::Attribute{name, value, nullptr, 0});
  return 1;
}

NamedSlot* ScriptParser::errorslot(int id) {
  if (id < 0 || id > 1000) return nullptr;
  if ((size_t)id >= errorslots_.size()) errorslots_.resize(id + 1);
  return &errorslots_[id];
}

int ScriptParser::Cacheable() {
#ifdef SORN_NO_CACHES
  return 0;
#else
  if (scriptchanged_) return 0;
  FileManager* files = sorn_ != nullptr ? sorn_->filemanager() : nullptr;
  if (files != nullptr && (!signed_ || files->changes() != changesseen_)) {
    changesseen_ = files->changes();
    String signature = files->Signature(buffer_->path());
    if (signed_ && signature != signature_) {
      scriptchanged_ = 1;
      return 0;
    }
    signature_ = signature;
    signed_ = 1;
  }
  return ExpandMacros() && !buffer_->inmacro();
#endif
}

int ScriptParser::EvaluateAt(long position, int line, String& value) {
  long saved = buffer_->CurrentFilePosition();
  int savedline = line_;
  line_ = line;
  // An expression of one line without a macro reads the same every time.
  Expression* cached = Cacheable() ? cache_.FindCondition(position) : nullptr;
  Expression* expression = cached;
  int parsed = 1;
  if (expression == nullptr) {
    buffer_->Seek(position);
    expression = new Expression(this);
    long attempts = expander()->attempts();
    parsed = expression->GetNextExpression(' ', '>', '"', 1);
    if (parsed && Cacheable() && attempts == expander()->attempts() && line_ == line) {
      cache_.StoreCondition(position, expression);
      cached = cache_.FindCondition(position);
      if (cached != expression) expression = cached;
    } else {
      cached = nullptr;
    }
  }
  int result = parsed && expression->Resolve(value);
  if (cached == nullptr) delete expression;
  buffer_->Seek(saved);
  line_ = savedline;
  return result;
}

// Only tags of one line are kept, so that line numbers inside them (in
// messages, and where a call returns) stay what reading would give.
int ScriptParser::ReadTag(Tag* model, Tag* tag, long start) {
  if (model->id() <= TagEXIT || !Cacheable()) return Parser::ReadTag(model, tag, start);
  TagCache::Entry* entry = new TagCache::Entry{model, 0, 0, 0, {}};
  TagCache::Entry* outer = recording_;
  recording_ = entry;
  long attempts = expander()->attempts();
  int line = line_;
  int result = Parser::ReadTag(model, tag, start);
  recording_ = outer;
  if (result && attempts == expander()->attempts() && line == line_ && Cacheable()) {
    entry->end = buffer_->CurrentFilePosition();
    cache_.Store(start, entry);
  } else {
    delete entry;
  }
  return result;
}

int ScriptParser::ProcessCachedTag(long start, int* result) {
  if (!Cacheable()) return 0;
  TagCache::Entry* entry = cache_.Find(start);
  if (entry == nullptr) return 0;
  buffer_->Seek(entry->end);
  if (entry->instance != nullptr && !entry->busy) {
    *result = RunCachedTag(entry, entry->instance, 1);
    return 1;
  }
  Tag* tag = new Tag(*entry->model);
  int keep = entry->instance == nullptr && !entry->busy;
  *result = RunCachedTag(entry, tag, 0);
  if (keep && *result != ScanFailure && entry->instance == nullptr) {
    entry->instance = tag;
    return 1;
  }
  delete tag;
  return 1;
}

// Fills the attributes of a fresh instance, or rewrites those of the kept
// one in the same order, and processes the tag. A kept instance has passed
// the validation once with the same attribute names: it would add nothing.
int ScriptParser::RunCachedTag(TagCache::Entry* entry, Tag* tag, int reused) {
  entry->busy++;
  int ok = 1;
  NameValueList& pairs = tag->attributes();
  NameValuePair* pair = reused ? pairs.First() : nullptr;
  for (const TagCache::Attribute& a : entry->attributes) {
    if (reused) {
      if (pair == nullptr) {  // cannot happen: the names are the entry's own
        ok = 0;
        break;
      }
      if (a.expression == nullptr)
        pair->value = a.value;
      else if (!a.expression->Resolve(pair->value)) {
        ok = 0;
        break;
      }
      pair = pairs.Next();
      continue;
    }
    String value(a.value);
    if (a.expression != nullptr && !a.expression->Resolve(value)) {
      ok = 0;
      break;
    }
    if (a.setsposition) tag->SetPosition(entry->expressionposition, entry->expressionline);
    tag->AddNameValuePair(a.name, value, 0);
  }
  if (ok && !reused) {
    ok = ValidateTag(entry->model, tag);
    entry->cursor = pairs.Current();
  }
  if (reused) pairs.Seek(entry->cursor);
  int r = ScanFailure;
  if (ok) {
    r = ProcessKnownTag(tag);
    r = r == ScanFailure ? ScanFailure : r == ScanStop ? ScanStop : ScanContinue;
  }
  entry->busy--;
  return r;
}

int ScriptParser::ProcessUnknownTag(String& text) {
  if (CheckTimeout()) return ScanFailure;
  if (outputlevel_ & OutputHTML) {
    output_->inwhitespace() = 0;
    output_->Write(text);
  }
  return ScanDone;
}

int ScriptParser::ProcessNewLine(String& line) {
  if (CheckTimeout()) return ScanFailure;
  if (outputlevel_ & OutputText) {
    if (!((outputlevel_ & OutputCompressWhitespace) && output_->inwhitespace())) output_->Write(line);
    output_->inwhitespace() = 1;
  }
  return ScanDone;
}

int ScriptParser::ProcessText(String& text) {
  if (CheckTimeout()) return ScanFailure;
  return Dispatch(nullptr, &text);
}

int ScriptParser::ProcessKnownTag(Tag* tag) {
  if (CheckTimeout()) return ScanFailure;
  int id = tag->id();
  if (!(interpret_ & InterpretTags) && id != TagSORN && id != TagLOOMTEXT) return ScanDone;
  if (id == TagEXIT || id == TagSnEXIT) {
    for (ScriptState* state = states_.Top(); state != nullptr && state != basestate_; state = states_.Top()) {
      states_.Pop();
      int result = state->ExitState();
      delete state;
      if (result == StateFailure) break;
    }
    return ScanStop;
  }
  return Dispatch(tag, nullptr);
}

int ScriptParser::Dispatch(Tag* tag, String* text) {
  ScriptState* state = states_.Top();
  for (;;) {
    int result = tag ? state->ProcessTag(tag) : state->ProcessText(*text, outputlevel_);
    switch (result) {
      case StateFailure:
        return ScanFailure;
      case StateLeave:
        for (;;) {
          ScriptState* top = states_.Top();
          if (top == nullptr) break;
          states_.Pop();
          bool last = top == state;
          int exit = top->ExitState();
          delete top;
          if (exit == StateFailure) return ScanFailure;
          if (last) break;
        }
        return states_.Top() == nullptr ? ScanStop : ScanDone;
      case StatePass:
        state = states_.Peek();
        if (state == nullptr) {
          SyntaxError(tag ? "Unexpected &lt;" + *tag + "&gt;" : String("Unexpected text"));
          return ScanFailure;
        }
        break;
      default:
        return ScanDone;
    }
  }
}
