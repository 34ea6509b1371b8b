#include "data/XBaseDatabase.h"

#include <cstdio>
#include <cstdlib>

#include "core/FileManager.h"
#include "core/LogFile.h"
#include "core/Sorn.h"
#include "script/ScriptParser.h"

namespace {

void Record(Sorn* sorn, const LogEntry& entry) {
  if (LogFile* log = sorn->logfile()) log->Log(entry);
}

}  // namespace

namespace {

// A size as atoi reads it, held within a billion either way so that adding
// two of them cannot overflow.
long Size(const String& text) {
  long n = strtol(text.chars(), nullptr, 10);
  const long limit = 1000000000L;
  return n > limit ? limit : n < -limit ? -limit : n;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

String Stripped(const String& text) {
  String s(text);
  s.StripWhitespace();
  return s;
}

// The pieces of text between commas, empty ones included.
void SplitAtCommas(const String& text, List<String>& pieces) {
  int start = 0;
  for (int i = 0; i <= text.length(); i++) {
    if (i == text.length() || text[i] == ',') {
      pieces.Insert(new String(text.at(start, i)));
      start = i + 1;
    }
  }
}

// The size between "(" and ")" of a type and what follows the ")". 0 when
// the type has no complete pair of parentheses.
int SizeOf(const String& type, String& size, String& rest) {
  int open = type.search("(");
  if (open < 0) return 0;
  int close = type.search(")", open);
  if (close < 0) return 0;
  size = type.at(open + 1, close);
  rest = type.from(close + 1);
  return 1;
}

}  // namespace

XBaseDatabase::XBaseDatabase(ScriptParser* parser, const String& name)
    : Database(parser, name), table_(parser->sorn()), indexes_(1), view_(nullptr) {
  view_ = new XBaseDatabaseView(parser, name, &table_, &indexes_);
  AddView(view_);
}

XBaseDatabase::~XBaseDatabase() {
  // The view's variables point into the table's fields: they go first.
  views_.Dump();
  view_ = nullptr;
  indexes_.Dump();
  if (table_.isopen()) {
    Record(sorn(), LogFileClosed(path_, "database"));
    table_.Close();
  }
}

Sorn* XBaseDatabase::sorn() const { return parser_->sorn(); }

void XBaseDatabase::RemoveView(DatabaseView* view) {
  if (view == view_) view_ = nullptr;
  Database::RemoveView(view);
}

int XBaseDatabase::Top() {
  if (view_ == nullptr) return 1;
  int status = view_->Go(ViewTop);
  if (status == ViewFailure) Error(view_->error());
  return status;
}

int XBaseDatabase::Open(const String& database, const String&, const String&) {
  givenpath_ = database;
  String resolved, message;
  if (!sorn()->ResolvePath(database, resolved, DataPath, message)) {
    Error(message);
    return 0;
  }
  if (!table_.Open(resolved, database, XBaseTable::kOpenMode)) {
    Record(sorn(), LogFileError(resolved, "database", "opening", table_.error()));
    Error(table_.error());
    return 0;
  }
  Record(sorn(), LogFileOpened(resolved, "database"));
  path_ = resolved;
  if (view_ != nullptr && view_->Open() == ViewFailure) {
    Error(view_->error());
    return 0;
  }
  return 1;
}

int XBaseDatabase::OpenIndexes(const String& list) {
  indexes_.Dump();
  String text = Stripped(list);
  if (text.length() > 0 && text[0] == '"') {
    text = text.from(1);
    int close = text.search("\"");
    if (close >= 0) text = text.before(close);
  }
  if (!text.empty()) {
    List<String> names(1);
    SplitAtCommas(text, names);
    for (String* piece = names.First(); piece != nullptr; piece = names.Next()) {
      String name = Stripped(*piece);
      if (name.empty() || indexes_.Find(name.chars()) != nullptr) continue;
      String resolved, message;
      if (!sorn()->ResolvePath(name, resolved, DataPath, message)) {
        Error(message);
        return 0;
      }
      XBaseIndex* index = new XBaseIndex(parser_, name);
      if (!index->Open(resolved, name)) {
        Error(index->error());
        delete index;
        return 0;
      }
      indexes_.Insert(index, ListTail);
    }
  }
  return Top() != ViewFailure;
}

int XBaseDatabase::SetPrimaryIndex(const String& name) {
  XBaseIndex* index = indexes_.Find(name.chars());
  if (index == nullptr) {
    Error("Database '" + name_ + "' has no index named '" + name + "'");
    return 0;
  }
  indexes_.Remove();
  int ok = 1;
  if (view_ != nullptr) {
    // The cursor goes onto the current record as it stands on disk, so
    // that a walk in the new order starts from where the view is.
    table_.SwapOriginal();
    String key;
    ok = view_->Key(index, key);
    if (ok) index->Seek(key, table_.recno());
    table_.SwapOriginal();
    if (!ok) Error(view_->error());
  }
  indexes_.Insert(index, ListHead);
  return ok;
}

int XBaseDatabase::ParseFieldSpecification(const String& text, List<XBaseField>& fields, String& error) {
  List<String> entries(1);
  // No text at all defines no fields; an empty piece between commas is a
  // dangling comma.
  if (!Stripped(text).empty()) SplitAtCommas(text, entries);
  for (String* piece = entries.First(); piece != nullptr; piece = entries.Next()) {
    String entry = Stripped(*piece);
    int blank = -1;
    for (int i = 0; i < entry.length() && blank < 0; i++)
      if (IsBlank(entry[i])) blank = i;
    if (blank < 0) {
      error = "Dangling comma in field\tspecification";
      return 0;
    }
    String name = Stripped(entry.before(blank));
    name.upcase();
    String type = Stripped(entry.from(blank));
    if (name.length() >= 11) {
      error = "Field name '" + name + "' is longer than the XBase limit of 10 characters";
      return 0;
    }
    List<XBaseField>* earlier = &fields;
    for (XBaseField* f = earlier->First(); f != nullptr; f = earlier->Next()) {
      if (name.matches(f->name())) {
        error = "Field name '" + name + "' is used more than once in the field specification";
        return 0;
      }
    }
    if (name.empty()) {
      error = "Empty field name in field specification";
      return 0;
    }
    if (type.empty()) {
      error = "Empty field type in field specification";
      return 0;
    }
    String word = type.contains('(') ? Stripped(type.before("(")) : type;
    String size, rest;
    XBaseFieldType kind;
    // Sizes are read as long, so that no text of digits can overflow the
    // sum of the digits, the point and the decimals.
    long length = 0, decimals = 0;
    if (word.matches("CHAR")) {
      if (!SizeOf(type, size, rest)) {
        error = "Error in field specification: CHAR datatypes require a length";
        return 0;
      }
      if (!rest.empty()) {
        error = "Unexpected '" + rest + "' following field declaration";
        return 0;
      }
      length = Size(size);
      if (length >= 255) {
        error = "CHAR fields may\tonly be\t254 characters long, field '" + name + "' is " + Decimal(length) +
                " characters long";
        return 0;
      }
      kind = XBaseCHAR;
    } else if (word.matches("NUMBER")) {
      length = 19;
      if (SizeOf(type, size, rest)) {
        if (!rest.empty()) {
          error = "Unexpected '" + rest + "' following field declaration";
          return 0;
        }
        if (!Stripped(size).empty()) {
          length = Size(size.before("."));
          decimals = size.contains('.') ? Size(size.after(".")) : 0;
          if (decimals != 0) length += 1 + decimals;
        }
      }
      if (length >= 20) {
        error = "NUMERIC\tfields may only\tbe 19 digits, field '" + name + "'\tis " + Decimal(length) + " digits";
        return 0;
      }
      kind = XBaseNUMBER;
    } else if (word.matches("DATE")) {
      kind = XBaseDATE;
      length = 8;
    } else if (word.matches("BOOL")) {
      kind = XBaseBOOL;
      length = 1;
    } else if (word.matches("MEMO")) {
      kind = XBaseMEMO;
      length = 10;
    } else {
      error = "Unknown\tfield type '" + word + "' in field specification";
      return 0;
    }
    // A length or decimal count out of the descriptor's byte would be
    // written as another number than the one checked.
    if (length < 0 || decimals < 0 || decimals > 255) {
      error = "Error in field specification: the size of field '" + name + "' is out of range";
      return 0;
    }
    fields.Insert(new XBaseField(nullptr, name.chars(), kind, (int)length, (int)decimals));
  }
  if (fields.Entries() == 0) {
    error = "Field specification does not define any\tfields";
    return 0;
  }
  return 1;
}

int XBaseDatabase::Create(const String& path, const String& fields) {
  givenpath_ = path;
  String resolved, message;
  if (!sorn()->ResolvePath(path, resolved, DataPath, message)) {
    Error(message);
    return 0;
  }
  List<XBaseField> list(1);
  String error;
  if (!ParseFieldSpecification(fields, list, error)) {
    Error(error);
    return 0;
  }
  if (!table_.Create(resolved, path, String(), String(), list)) {
    Record(sorn(), LogFileError(resolved, "database", "creating", table_.error()));
    Error(table_.error());
    return 0;
  }
  Record(sorn(), LogFileOpened(resolved, "database"));
  path_ = resolved;
  if (view_ != nullptr && view_->Open() == ViewFailure) {
    Error(view_->error());
    return 0;
  }
  return 1;
}

long XBaseDatabase::IndexFlags(const String& words) {
  long flags = 0;
  List<String> pieces(1);
  SplitAtCommas(words, pieces);
  for (String* piece = pieces.First(); piece != nullptr; piece = pieces.Next()) {
    String word = Stripped(*piece);
    if (word.matches("ascending"))
      flags &= ~(long)LMTIndexDescending;
    else if (word.matches("descending"))
      flags |= LMTIndexDescending;
    else if (word.matches("nounique"))
      flags &= ~(long)LMTIndexUnique;
    else if (word.matches("unique"))
      flags |= LMTIndexUnique;
    else if (word.matches("string"))
      flags |= LMTIndexString;
  }
  return flags;
}

int XBaseDatabase::CreateIndex(const String& file, const String& expression, const String& flags) {
  if (view_ == nullptr) {
    Error("Database '" + name_ + "' has no primary view");
    return 0;
  }
  String resolved, message;
  if (!sorn()->ResolvePath(file, resolved, DataPath, message)) {
    Error(message);
    return 0;
  }
  XBaseIndex* index = new XBaseIndex(parser_, file);
  if (!index->Create(resolved, file, expression, IndexFlags(flags))) {
    Error(index->error());
    delete index;
    return 0;
  }
  int ok = 1;
  long count = (long)table_.recordcount();
  for (long record = 1; record <= count && ok; record++) {
    String key;
    if (!table_.Goto(record)) {
      Error(table_.error());
      ok = 0;
    } else if (!view_->Key(index, key)) {
      Error(view_->error());
      ok = 0;
    } else if (!index->Insert(record, key)) {
      Error(index->error());
      ok = 0;
    }
  }
  if (!ok) {
    // The half-built file stays for whoever wants to look at it.
    delete index;
    return 0;
  }
  indexes_.Insert(index, ListHead);
  return Top() != ViewFailure;
}

int XBaseDatabase::Close() {
  if (view_ != nullptr) view_->Close();
  if (table_.isopen()) {
    Record(sorn(), LogFileClosed(path_, "database"));
    table_.Close();
  }
  return 1;
}

int XBaseDatabase::OpenView(const String&, const String&) {
  Error("SnOPENVIEW is not currently supported for databases of type 'xbase3'");
  return 0;
}

int XBaseDatabase::RunQuery(const String&) {
  Error("SnQUERY is not currently supported for databases of type 'xbase3'");
  return 0;
}

int XBaseDatabase::NewTemporary(const String& displayname, const String& target, File** file,
                                List<XBaseTemporaryFile>& temporaries) {
  FileManager* files = sorn()->filemanager();
  String name = files->StripDirectory(displayname);
  String prefix, message;
  if (!sorn()->ResolvePath(name, prefix, TemporaryPath, message)) {
    Error(message);
    return 0;
  }
  *file = files->MakeTemporary(prefix, name, FileRead | FileWrite);
  if (*file == nullptr) {
    Error(files->error());
    return 0;
  }
  temporaries.Insert(new XBaseTemporaryFile(target, prefix));
  return 1;
}

void XBaseDatabase::DeleteTemporaries(List<XBaseTemporaryFile>& temporaries) {
  FileManager* files = sorn()->filemanager();
  for (XBaseTemporaryFile* t = temporaries.First(); t != nullptr; t = temporaries.Next())
    if (files->Exists(t->temporary())) files->Delete(t->temporary());
}

int XBaseDatabase::RenameTemporaries(List<XBaseTemporaryFile>& temporaries) {
  FileManager* files = sorn()->filemanager();
  for (XBaseTemporaryFile* t = temporaries.First(); t != nullptr; t = temporaries.Next()) {
    if (files->Rename(t->temporary(), t->target()) < 0) {
      Error(files->error());
      return 0;
    }
  }
  return 1;
}

int XBaseDatabase::ReopenIndexes() {
  int ok = 1;
  for (XBaseIndex* index = indexes_.First(); index != nullptr; index = indexes_.Next()) {
    String path = index->path(), displayname = index->displayname();
    if (!index->Open(path, displayname) && ok) {
      Error(index->error());
      ok = 0;
    }
  }
  return ok;
}

int XBaseDatabase::CopyLiveRecords(XBaseTable* target, List<XBaseIndex>& targetindexes) {
  long count = (long)table_.recordcount();
  for (long record = 1; record <= count; record++) {
    if (!table_.Goto(record)) {
      Error(table_.error());
      return 0;
    }
    if (table_.deleted()) continue;
    List<XBaseField>* from = table_.fields();
    List<XBaseField>* to = target->fields();
    XBaseField* out = to->First();
    for (XBaseField* in = from->First(); in != nullptr && out != nullptr; in = from->Next(), out = to->Next()) {
      const char* data = in->data();
      if (data == nullptr) {
        Error(table_.error());
        return 0;
      }
      out->Set(String(data));
    }
    if (!target->Append()) {
      Error(target->error());
      return 0;
    }
    for (XBaseIndex* index = targetindexes.First(); index != nullptr; index = targetindexes.Next()) {
      String key;
      if (!view_->Key(index, key)) {
        Error(view_->error());
        return 0;
      }
      if (!index->Insert(target->recno(), key)) {
        Error(index->error());
        return 0;
      }
    }
  }
  return 1;
}

int XBaseDatabase::Pack() {
  if (view_ == nullptr) {
    Error("Database '" + name_ + "' has no primary view");
    return 0;
  }
  List<XBaseTemporaryFile> temporaries(1);
  File* tablefile = nullptr;
  File* memofile = nullptr;
  if (!NewTemporary(table_.displayname(), table_.path(), &tablefile, temporaries) ||
      (table_.hasmemo() && !NewTemporary(table_.memodisplayname(), table_.memopath(), &memofile, temporaries))) {
    delete tablefile;
    DeleteTemporaries(temporaries);
    return 0;
  }
  XBaseTemporaryFile* tabletemporary = temporaries.First();
  XBaseTemporaryFile* memotemporary = temporaries.Next();
  XBaseTable* packed = new XBaseTable(sorn());
  int ok = packed->Create(tablefile, tabletemporary->temporary(), table_.displayname(), memofile,
                          memotemporary ? memotemporary->temporary() : String(), table_.memodisplayname(),
                          *table_.fields());
  if (!ok) {
    Error(packed->error());
    delete tablefile;
    delete memofile;
  }
  List<XBaseIndex> packedindexes(1);
  for (XBaseIndex* index = indexes_.First(); index != nullptr && ok; index = indexes_.Next()) {
    File* file = nullptr;
    if (!NewTemporary(index->displayname(), index->path(), &file, temporaries)) {
      ok = 0;
      break;
    }
    XBaseIndex* fresh = new XBaseIndex(parser_, index->name());
    if (!fresh->Create(file, temporaries.Last()->temporary(), index->displayname(), index->expressiontext(),
                       index->flags())) {
      Error(fresh->error());
      delete fresh;
      ok = 0;
      break;
    }
    packedindexes.Insert(fresh);
  }
  if (ok) {
    // The key expressions must see the values of the new table.
    view_->SetupCurrentRecord(packed);
    ok = CopyLiveRecords(packed, packedindexes);
  }
  packedindexes.Dump();
  delete packed;
  if (ok) {
    Record(sorn(), LogFileClosed(path_, "database"));
    table_.Close();
    for (XBaseIndex* index = indexes_.First(); index != nullptr; index = indexes_.Next()) index->Close();
    ok = RenameTemporaries(temporaries);
  }
  if (!ok) DeleteTemporaries(temporaries);
  if (!table_.isopen()) {
    if (!table_.Open(path_, givenpath_, XBaseTable::kOpenMode)) {
      if (ok) Error(table_.error());
      ok = 0;
    }
    if (!ReopenIndexes()) ok = 0;
  }
  view_->SetupCurrentRecord(&table_);
  if (!ok) return 0;
  return Top();
}

int XBaseDatabase::Reindex() {
  if (view_ == nullptr) {
    Error("Database '" + name_ + "' has no primary view");
    return 0;
  }
  List<XBaseTemporaryFile> temporaries(1);
  List<XBaseIndex> fresh(1);
  int ok = 1;
  for (XBaseIndex* index = indexes_.First(); index != nullptr; index = indexes_.Next()) {
    File* file = nullptr;
    if (!NewTemporary(index->displayname(), index->path(), &file, temporaries)) {
      ok = 0;
      break;
    }
    XBaseIndex* rebuilt = new XBaseIndex(parser_, index->name());
    if (!rebuilt->Create(file, temporaries.Last()->temporary(), index->displayname(), index->expressiontext(),
                         index->flags())) {
      Error(rebuilt->error());
      delete rebuilt;
      ok = 0;
      break;
    }
    fresh.Insert(rebuilt);
  }
  long count = (long)table_.recordcount();
  for (long record = 1; record <= count && ok; record++) {
    if (!table_.Goto(record)) {
      Error(table_.error());
      ok = 0;
      break;
    }
    for (XBaseIndex* rebuilt = fresh.First(); rebuilt != nullptr && ok; rebuilt = fresh.Next()) {
      String key;
      if (!view_->Key(rebuilt, key)) {
        Error(view_->error());
        ok = 0;
      } else if (!rebuilt->Insert(record, key)) {
        Error(rebuilt->error());
        ok = 0;
      }
    }
  }
  fresh.Dump();
  int closed = 0;
  if (ok) {
    for (XBaseIndex* index = indexes_.First(); index != nullptr; index = indexes_.Next()) index->Close();
    closed = 1;
    ok = RenameTemporaries(temporaries);
  }
  if (!ok) DeleteTemporaries(temporaries);
  if (closed && !ReopenIndexes()) ok = 0;
  if (!ok) return 0;
  return Top() != ViewFailure;
}
