#include "data/XBaseIndex.h"

#include "core/LogFile.h"
#include "core/Sorn.h"
#include "script/Expression.h"
#include "script/ScriptParser.h"

namespace {

// Logging is a side line: an index without a parser, or a request before its
// log exists, simply goes unrecorded.
void Record(ScriptParser* parser, const LogEntry& entry) {
  if (parser == nullptr) return;
  if (LogFile* log = parser->sorn()->logfile()) log->Log(entry);
}

}  // namespace

XBaseIndex::XBaseIndex(ScriptParser* parser, const String& name)
    : parser_(parser), expression_(nullptr), name_(name), file_(parser != nullptr ? parser->sorn() : nullptr) {}

XBaseIndex::~XBaseIndex() { Close(); }

int XBaseIndex::Check(int result) {
  if (!result) error_ = file_.error();
  return result;
}

int XBaseIndex::ParseExpression() {
  delete expression_;
  expression_ = nullptr;
  expressiontext_ = file_.keyexpression();
  Expression* expression = new Expression(parser_);
  if (expression->ReadTokenized(expressiontext_, nullptr, ' ', '\0') != ExpressionReadAll) {
    delete expression;
    error_ = "Index '" + displayname_ + "' has an unreadable key expression";
    return 0;
  }
  expression_ = expression;
  return 1;
}

int XBaseIndex::Open(const String& path, const String& displayname) {
  Close();
  path_ = path;
  displayname_ = displayname;
  if (!file_.Open(path, displayname, FileRead | FileWrite) || !ParseExpression()) {
    if (error_.empty()) error_ = file_.error();
    Record(parser_, LogFileError(name_, "index", "opening", error_));
    file_.Close();
    return 0;
  }
  Record(parser_, LogFileOpened(path, "index"));
  return 1;
}

int XBaseIndex::Create(const String& path, const String& displayname, const String& expression, long flags) {
  Close();
  path_ = path;
  displayname_ = displayname;
  if (!file_.Create(path, displayname, expression, flags) || !ParseExpression()) {
    if (error_.empty()) error_ = file_.error();
    Record(parser_, LogFileError(name_, "index", "creating", error_));
    file_.Close();
    return 0;
  }
  Record(parser_, LogFileOpened(path, "index"));
  return 1;
}

int XBaseIndex::Create(File* file, const String& path, const String& displayname, const String& expression,
                       long flags) {
  Close();
  path_ = path;
  displayname_ = displayname;
  if (!file_.Create(file, path, displayname, expression, flags) || !ParseExpression()) {
    if (error_.empty()) error_ = file_.error();
    Record(parser_, LogFileError(name_, "index", "creating", error_));
    file_.Close();
    return 0;
  }
  Record(parser_, LogFileOpened(path, "index"));
  return 1;
}

int XBaseIndex::Close() {
  delete expression_;
  expression_ = nullptr;
  error_ = "";
  if (!file_.isopen()) return 1;
  Record(parser_, LogFileClosed(path_, "index"));
  return file_.Close();
}

int XBaseIndex::First(long* record) { return Check(file_._First(record, 1)); }
int XBaseIndex::Next(long* record) { return Check(file_._Next(record, 1)); }
int XBaseIndex::Prev(long* record) { return Check(file_._Prev(record, 1)); }
int XBaseIndex::Last(long* record) { return Check(file_._Last(record, 1)); }

int XBaseIndex::Find(const String& key, int exact, long* record) {
  return Check(file_._Find(key.chars(), exact, record, 1));
}

int XBaseIndex::Seek(const String& key, long record) {
  long found = 0;
  if (!Check(file_._Seek(key.chars(), record, 1, &found))) return 0;
  if (found == 0) {
    error_ = "Record is not in index";
    return 0;
  }
  return 1;
}

int XBaseIndex::Insert(long record, const String& key) { return Check(file_.Insert(record, key.chars())); }

int XBaseIndex::Delete(long record, const String& key) { return Check(file_.Delete(record, key.chars())); }
