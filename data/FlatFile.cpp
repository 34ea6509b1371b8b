#include "data/FlatFile.h"

#include "core/Buffer.h"
#include "core/Config.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/LogFile.h"
#include "core/Sorn.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"

namespace {

void Record(Sorn* sorn, const LogEntry& entry) {
  if (LogFile* log = sorn->logfile()) log->Log(entry);
}

}  // namespace

namespace {

const char kTab[] = "\t";

String CutName(const String& name) { return name.before((int)FlatFile::kMaxFileName); }

// Keys "0", "1", ... keep the names in the order they were given.
void SetOrder(VariableList& order, const String& names) {
  order.Dump();
  if (names.empty()) return;
  String name;
  int count = 0;
  for (int at = 0; NextPiece(names, ',', at, name);) {
    name.StripWhitespace();
    order.Insert(new Variable(Decimal(count++), name), ListTail);
  }
}

void CopyOrder(VariableList& to, const VariableList& from) {
  // Walking a list moves its cursor, which is all that changes in from.
  VariableList& source = const_cast<VariableList&>(from);
  for (Variable* v = source.First(); v != nullptr; v = source.Next())
    to.Insert(new Variable(v->name(), v->value()), ListTail);
}

}  // namespace

FlatFile::FlatFile(ScriptParser* parser)
    : parser_(parser),
      recordnumber_(1),
      importorder_(1),
      exportorder_(1),
      importdelimiter_(kTab),
      exportdelimiter_(kTab),
      buffer_(nullptr),
      whereposition_(0),
      whereline_(0) {}

FlatFile::FlatFile(FlatFile* other)
    : parser_(other->parser_),
      importfile_(other->importfile_),
      exportfile_(other->exportfile_),
      recordnumber_(1),
      importorder_(1),
      exportorder_(1),
      importdelimiter_(other->importdelimiter_),
      exportdelimiter_(other->exportdelimiter_),
      buffer_(nullptr),
      whereposition_(other->whereposition_),
      whereline_(other->whereline_) {
  CopyOrder(importorder_, other->importorder_);
  CopyOrder(exportorder_, other->exportorder_);
}

FlatFile::~FlatFile() { EndImport(); }

void FlatFile::SetImportFile(const String& name) { importfile_ = CutName(name); }

void FlatFile::SetExportFile(const String& name) { exportfile_ = CutName(name); }

void FlatFile::SetImportOrder(const String& names) { SetOrder(importorder_, names); }

void FlatFile::SetExportOrder(const String& names) { SetOrder(exportorder_, names); }

void FlatFile::SetImportDelimiter(const String& delimiter) {
  if (!delimiter.empty()) importdelimiter_ = delimiter;
}

void FlatFile::SetExportDelimiter(const String& delimiter) {
  if (!delimiter.empty()) exportdelimiter_ = delimiter;
}

void FlatFile::SetWHEREExpressionOffset(long position, int line) {
  whereposition_ = position;
  whereline_ = line;
}

int FlatFile::StartImport() {
  recordnumber_ = 1;
  EndImport();
  error_ = String();
  Sorn* sorn = parser_->sorn();
  String message;
  if (!sorn->ResolvePath(importfile_, importpath_, DataPath, message)) {
    error_ = message;
    return 0;
  }
  FileManager* files = sorn->filemanager();
  // Opening a directory for reading succeeds; only the first read fails.
  if (files->IsDirectory(importpath_)) {
    error_ = "Error opening '" + importfile_ + "' for read: Is a directory";
    return 0;
  }
  buffer_ = new Buffer(sorn, sorn->config()->importbuffersize);
  if (!buffer_->Open(importpath_, importfile_)) {
    Record(sorn, LogFileError(importpath_, "import", "opening", files->error()));
    error_ = "Error opening '" + importfile_ + "' for read: " + files->error();
    delete buffer_;
    buffer_ = nullptr;
    return 0;
  }
  Record(sorn, LogFileOpened(importpath_, "import"));
  return 1;
}

void FlatFile::EndImport() {
  if (buffer_ == nullptr) return;
  Record(parser_->sorn(), LogFileClosed(importpath_, "import"));
  delete buffer_;
  buffer_ = nullptr;
}

int FlatFile::ReadRecord(Buffer* buffer, std::string& line) {
  line.clear();
  for (;;) {
    int c = buffer->GetNextChar();
    switch (c) {
      case -1:
        return 0;
      case '\r':
      case '\n': {
        int pair = c == '\r' ? '\n' : '\r';
        int next = buffer->GetNextChar();
        if (next != pair && next != -1) buffer->UnGetChar();
        return 1;
      }
      case '\\':
        c = buffer->GetNextChar();
        if (c == -1) {
          line.push_back('\\');
          return 0;
        }
        if (c == 'n') c = '\n';
        if (c == 'r') c = '\r';
        break;
      default:
        break;
    }
    // A String holds no more; the rest of an overlong line is dropped.
    if (line.size() < (size_t)String::kMaxLength) line.push_back((char)c);
  }
}

int FlatFile::ImportNextRecord() {
  error_ = String();
  if (buffer_ == nullptr) {
    error_ = "Error reading '" + importfile_ + "': not open";
    return ImportFailed;
  }
  Variables* vars = parser_->vars();
  int names = importorder_.Entries();
  String* parts = new String[names > 0 ? names : 1];
  int result = ImportFailed;
  for (;;) {
    int more = ReadRecord(buffer_, line_);
    if (!more && line_.empty()) {
      result = ImportFinished;
      break;
    }
    String line(line_.data(), (int)line_.size());
    int count = split(line, parts, names, importdelimiter_);
    if (count != names)
      for (Variable* v = importorder_.First(); v != nullptr; v = importorder_.Next())
        if (!v->value().empty()) vars->SetVariable(v->value(), String());
    int i = 0;
    for (Variable* v = importorder_.First(); v != nullptr && i < count; v = importorder_.Next(), i++)
      if (!v->value().empty()) vars->SetVariable(v->value(), parts[i]);
    int accepted = 1;
    if (!Accepts(&accepted)) break;
    if (accepted) {
      vars->SetVariable("G.RECNO", Decimal(recordnumber_++));
      result = ImportRecord;
      break;
    }
  }
  delete[] parts;
  return result;
}

int FlatFile::Accepts(int* accepted) {
  *accepted = 1;
  if (whereposition_ == 0) return 1;
  String value;
  int line = whereline_ ? whereline_ : parser_->line();
  if (!parser_->EvaluateAt(whereposition_, line, value)) return 0;
  // Only the exact text "0" rejects: an empty result or "0.0" accepts.
  *accepted = !(value == "0");
  return 1;
}

void FlatFile::EscapeField(const String& value, std::string& line) {
  for (int i = 0; i < value.length(); i++) {
    char c = value[i];
    if (c == '\\')
      line.append("\\\\");
    else if (c == '\n')
      line.append("\\n");
    else if (c == '\r')
      line.append("\\r");
    else
      line.push_back(c);
  }
}

int FlatFile::ExportRecord() {
  error_ = String();
  Sorn* sorn = parser_->sorn();
  String path, message;
  if (!sorn->ResolvePath(exportfile_, path, DataPath, message)) {
    error_ = message;
    return 0;
  }
  FileManager* files = sorn->filemanager();
  File* file = files->Open(path, FileWrite | FileCreate | FileAppend);
  if (file == nullptr) {
    Record(sorn, LogFileError(path, "export", "opening", files->error()));
    error_ = "Error opening '" + exportfile_ + "' for write: " + files->error();
    return 0;
  }
  Record(sorn, LogFileOpened(path, "export"));
  Variables* vars = parser_->vars();
  std::string line;
  int first = 1;
  for (Variable* v = exportorder_.First(); v != nullptr; v = exportorder_.Next()) {
    if (!first) line.append(exportdelimiter_.chars(), exportdelimiter_.length());
    first = 0;
    EscapeField(vars->Value(v->value()), line);
  }
  line.push_back('\n');
  int ok = 1;
  // A line past what one write can take is cut there, and reported short.
  int size = line.size() > (size_t)String::kMaxLength ? String::kMaxLength : (int)line.size();
  if (file->Write(line.data(), size) != (int)line.size()) {
    String reason = file->error().empty() ? String("short write") : file->error();
    Record(sorn, LogFileError(path, "export", "writing", reason));
    error_ = "Error writing to '" + exportfile_ + "': " + reason;
    ok = 0;
  }
  Record(sorn, LogFileClosed(path, "export"));
  delete file;
  return ok;
}
