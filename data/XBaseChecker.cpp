#include "data/XBaseChecker.h"

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <unordered_map>

#include "core/FileManager.h"
#include "core/Sorn.h"
#include "data/LMTIndexChecker.h"
#include "script/ScriptParser.h"

namespace {

// The length a descriptor must give each fixed-size type; 0 for the
// types whose length is the creator's choice.
int FixedLength(XBaseFieldType type) {
  switch (type) {
    case XBaseDATE:
      return 8;
    case XBaseBOOL:
      return 1;
    case XBaseMEMO:
      return 10;
    default:
      return 0;
  }
}

String HexByte(unsigned char byte) {
  char text[8];
  snprintf(text, sizeof text, "0x%02X", byte);
  return text;
}

}  // namespace

XBaseChecker::XBaseChecker(ScriptParser* parser)
    : parser_(parser),
      table_(parser->sorn()),
      noindexes_(0),
      view_(new XBaseDatabaseView(parser, "check", &table_, &noindexes_)) {}

XBaseChecker::~XBaseChecker() { CloseTable(); }

// ---------------------------------------------------------------- lines

void XBaseChecker::Note(const String& file, const String& text) {
  if (file == linesfile_) {
    if (++linesforfile_ == kMaxLinesPerFile) {
      lines_.push_back(file + ": more lines left out");
      return;
    }
    if (linesforfile_ > kMaxLinesPerFile) return;
  } else {
    linesfile_ = file;
    linesforfile_ = 0;
  }
  lines_.push_back(file + ": " + prefix_ + text);
}

void XBaseChecker::Problem(const String& file, const String& text) {
  problems_++;
  Note(file, text);
}

// ---------------------------------------------------------------- table

int XBaseChecker::OpenTable(const String& path, int mode) {
  CloseTable();
  if (!table_.Open(path, path, mode)) return 0;
  view_->SetupCurrentRecord(&table_);
  return 1;
}

void XBaseChecker::CloseTable() {
  // The view's variables point into the fields the table is about to drop.
  view_->Close();
  table_.Close();
}

void XBaseChecker::CheckLayout(Findings* findings) {
  List<XBaseField>* fields = table_.fields();
  long sum = 1;
  int number = 0;
  bool memo = false;
  std::vector<String> names;
  for (XBaseField* field = fields->First(); field != nullptr; field = fields->Next()) {
    number++;
    String name(field->name());
    String where = "field " + Decimal(number) + " (" + name + "): ";
    if (name.empty()) Problem(tablename_, where + "the name is empty");
    for (const String& earlier : names)
      if (!name.empty() && strcasecmp(earlier.chars(), name.chars()) == 0)
        Problem(tablename_, where + "the name is used by an earlier field");
    names.push_back(name);
    int fixed = FixedLength(field->type());
    if (field->length() == 0) {
      Problem(tablename_, where + "the length is 0");
    } else if (fixed != 0 && field->length() != fixed) {
      char letter = XBaseFieldLetter(field->type());
      Problem(tablename_, where + "a " + String(&letter, 1) + " field of length " +
                              Decimal(field->length()) + ", not " + Decimal(fixed));
    }
    if (field->type() == XBaseMEMO) memo = true;
    sum += field->length();
  }
  if (number == 0) Problem(tablename_, "the header describes no fields");
  if (table_.recordlength() != sum)
    Problem(tablename_, "the header gives a record length of " + Decimal(table_.recordlength()) +
                            ", the fields add up to " + Decimal(sum));

  std::unique_ptr<File> raw(parser_->sorn()->filemanager()->Open(tablename_, FileRead));
  unsigned char version = 0, end = 0;
  if (raw != nullptr && raw->Seek(0) == 0 && raw->Read(&version, 1) == 1 && memo && version != 0x83)
    Problem(tablename_, "the version byte is " + HexByte(version) + " but a field is a MEMO");
  long at = table_.headerlength() - 1;
  if (raw == nullptr || raw->Seek(at) != at || raw->Read(&end, 1) != 1 || end != XBaseTable::kEndOfDescriptors)
    Problem(tablename_, "no 0x0D behind the field descriptors");
  findings->layoutsound = number > 0 && table_.recordlength() == sum;
}

void XBaseChecker::CheckSize(Findings* findings) {
  long size = parser_->sorn()->filemanager()->Length(tablename_);
  long header = table_.headerlength();
  long record = table_.recordlength();
  long count = (long)table_.recordcount();
  if (size < header || record <= 0) {
    Problem(tablename_, "the file is " + Decimal(size) + " bytes long, its header alone " + Decimal(header));
    findings->wholerecords = 0;
    findings->countwrong = count != 0;
    return;
  }
  long data = size - header;
  long whole = data / record;
  long rest = data % record;
  unsigned char mark = 0;
  if (rest > 0) {
    std::unique_ptr<File> raw(parser_->sorn()->filemanager()->Open(tablename_, FileRead));
    long at = header + whole * record;
    if (raw == nullptr || raw->Seek(at) != at || raw->Read(&mark, 1) != 1) mark = 0;
  }
  findings->wholerecords = whole;
  if (count != whole) {
    findings->countwrong = true;
    Problem(tablename_, "header says " + Decimal(count) + " records, file holds " + Decimal(whole));
  }
  if (rest == 0) {
    findings->endmarkmissing = true;
    Problem(tablename_, "no end mark behind record " + Decimal(whole));
  } else if (rest > 1 || mark != XBaseTable::kEndMark) {
    findings->partialbytes = rest;
    Problem(tablename_, "the file ends in " + Decimal(rest) + " bytes of an incomplete record after record " +
                            Decimal(whole));
  }
}

void XBaseChecker::CheckMemos(long records) {
  if (!table_.hasmemo()) return;
  const String& memoname = table_.memodisplayname();
  long size = parser_->sorn()->filemanager()->Length(table_.memopath());
  long nextfree = table_.nextfreeblock();
  if (nextfree < 1 || nextfree * XBaseTable::kMemoBlockSize > size + XBaseTable::kMemoBlockSize)
    Problem(memoname, "the next free block is " + Decimal(nextfree) + ", the file is " + Decimal(size) +
                          " bytes long");
  for (long recno = 1; recno <= records; recno++) {
    if (!table_.Goto(recno)) {
      Problem(tablename_, "record " + Decimal(recno) + ": " + table_.error());
      continue;
    }
    List<XBaseField>* fields = table_.fields();
    for (XBaseField* field = fields->First(); field != nullptr; field = fields->Next()) {
      if (field->type() != XBaseMEMO) continue;
      long block = static_cast<XBaseMemoField*>(field)->block();
      if (block == 0) continue;
      String where = "record " + Decimal(recno) + " field " + field->name() + ": block " + Decimal(block);
      long offset = block * XBaseTable::kMemoBlockSize;
      if (block < 0 || offset >= size) {
        Problem(memoname, where + " lies past the end of the file");
        continue;
      }
      if (block >= nextfree) {
        Problem(memoname, where + " is not below the next free block " + Decimal(nextfree));
        continue;
      }
      char* text = nullptr;
      int length = 0;
      if (!table_.ReadMemoBlock(block, &text, &length)) {
        Problem(memoname, where + ": " + table_.error());
        continue;
      }
      if (offset + length >= size)
        Problem(memoname, where + ": the text runs to the end of the file with no end mark");
      else if (memchr(text, '\0', length) != nullptr)
        Problem(memoname, where + " does not start a text");
      delete[] text;
    }
  }
}

// ---------------------------------------------------------------- indexes

int XBaseChecker::CheckIndex(const String& path, long records) {
  XBaseIndex index(parser_, path);
  if (!index.Open(path, path)) {
    Problem(path, index.error());
    return -1;
  }
  long before = problems_;
  std::vector<LMTIndexChecker::Entry> entries;
  LMTIndexChecker tree(&index.file());
  tree.CollectEntries(&entries);
  tree.Check(records);
  for (const String& line : tree.problems()) Problem(path, line);

  std::unordered_map<long, std::vector<const String*>> byrecord;
  for (const LMTIndexChecker::Entry& entry : entries)
    if (entry.record >= 1 && entry.record <= records) byrecord[entry.record].push_back(&entry.key);
  long checkable = std::min(records, (long)table_.recordcount());
  int cut = index.file().keysize() - 1;
  for (long recno = 1; recno <= checkable; recno++) {
    if (!table_.Goto(recno)) continue;  // the table's own check reports it
    String key;
    if (!view_->Key(&index, key)) {
      Problem(path, "record " + Decimal(recno) + ": " + view_->error());
      break;
    }
    if (cut >= 0 && key.length() > cut) key = key.before(cut);
    int same = 0;
    String where = "record " + Decimal(recno) + " (key '" + key + "')";
    for (const String* found : byrecord[recno]) {
      if (*found == key)
        same++;
      else
        Problem(path, where + " also has an entry with the key '" + *found + "'");
    }
    if (same == 0) Problem(path, where + " has no entry");
    if (same > 1) Problem(path, where + " has " + Decimal(same) + " entries");
  }
  index.Close();
  return (int)(problems_ - before);
}

// ---------------------------------------------------------------- the runs

int XBaseChecker::Examine(const String& table, const std::vector<String>& indexes, Findings* findings) {
  tablename_ = table;
  problems_ = 0;
  if (!OpenTable(table, FileRead)) {
    std::unique_ptr<File> raw(parser_->sorn()->filemanager()->Open(table, FileRead));
    if (raw == nullptr) {
      Note(table, table_.error());
      return CheckUnusable;
    }
    Problem(table, table_.error());
    for (const String& path : indexes) findings->unrepairable.push_back(path);
    return CheckProblems;
  }
  findings->opened = true;
  CheckLayout(findings);
  CheckSize(findings);
  long records = std::min((long)table_.recordcount(), findings->wholerecords);
  CheckMemos(records);
  for (const String& path : indexes) {
    int found = CheckIndex(path, findings->wholerecords);
    if (found < 0)
      findings->unrepairable.push_back(path);
    else if (found > 0)
      findings->damagedindexes.push_back(path);
  }
  CloseTable();
  return problems_ == 0 ? CheckClean : CheckProblems;
}

int XBaseChecker::Check(const String& table, const std::vector<String>& indexes) {
  lines_.clear();
  linesfile_ = "";
  Findings findings;
  return Examine(table, indexes, &findings);
}

int XBaseChecker::Backup(const String& path) {
  FileManager* files = parser_->sorn()->filemanager();
  String name = path + ".bak";
  for (long n = 1; files->Exists(name); n++) name = path + ".bak" + Decimal(n);
  if (files->Copy(path, name) < 0) {
    Problem(path, "not repaired: no backup could be made in " + name + ": " + files->error());
    return 0;
  }
  backups_.push_back(name);
  Note(path, "backup made in " + name);
  return 1;
}

int XBaseChecker::RepairTable(const Findings& findings) {
  if (!findings.layoutsound) {
    Problem(tablename_, "record count not repaired: the descriptors disagree with the record length");
    return 0;
  }
  if (!Backup(tablename_)) return 0;
  // The header goes through the table's own code, the end through a second
  // descriptor; both are this process's, so the one lock covers them.
  if (!OpenTable(tablename_, FileRead | FileWrite)) {
    Problem(tablename_, "not repaired: " + table_.error());
    return 0;
  }
  std::unique_ptr<File> raw(parser_->sorn()->filemanager()->Open(tablename_, FileRead | FileWrite));
  long header = table_.headerlength();
  long end = header + findings.wholerecords * table_.recordlength();
  unsigned char mark = XBaseTable::kEndMark;
  int ok = raw != nullptr && raw->Lock(FileLockExclusive, 0, header) == 0;
  if (ok) {
    ok = raw->Truncate(end) == 0 && raw->Seek(end) == end && raw->Write(&mark, 1) == 1;
    if (ok) {
      long was = (long)table_.recordcount();
      table_.SetRecordCount((unsigned long)findings.wholerecords);
      ok = table_.WriteTableHeader();
      if (ok && was != findings.wholerecords)
        Note(tablename_, "record count set from " + Decimal(was) + " to " + Decimal(findings.wholerecords));
    }
    raw->Release(0, header);
  }
  if (!ok) {
    String reason = table_.error();
    if (raw == nullptr)
      reason = parser_->sorn()->filemanager()->error();
    else if (reason.empty())
      reason = raw->error();
    Problem(tablename_, "not repaired: " + reason);
  } else if (findings.partialbytes > 0 || findings.endmarkmissing) {
    Note(tablename_, "end mark written behind record " + Decimal(findings.wholerecords) +
                         (findings.partialbytes > 0 ? ", " + Decimal(findings.partialbytes) + " bytes cut off" : ""));
  }
  CloseTable();
  return ok;
}

int XBaseChecker::RebuildIndex(const String& path) {
  XBaseIndex old(parser_, path);
  if (!old.Open(path, path)) {
    Problem(path, "cannot be repaired: " + old.error());
    return 0;
  }
  String expression = old.expressiontext();
  long flags = old.flags();
  old.Close();
  if (!Backup(path)) return 0;
  FileManager* files = parser_->sorn()->filemanager();
  String temporary = path + ".rebuild";
  XBaseIndex fresh(parser_, path);
  int ok = fresh.Create(temporary, path, expression, flags);
  if (!ok) Problem(path, "cannot be rebuilt: " + fresh.error());
  long count = (long)table_.recordcount();
  for (long recno = 1; recno <= count && ok; recno++) {
    String key;
    if (!table_.Goto(recno)) {
      Problem(path, "cannot be rebuilt: record " + Decimal(recno) + ": " + table_.error());
      ok = 0;
    } else if (!view_->Key(&fresh, key)) {
      Problem(path, "cannot be rebuilt: " + view_->error());
      ok = 0;
    } else if (!fresh.Insert(recno, key)) {
      Problem(path, "cannot be rebuilt: " + fresh.error());
      ok = 0;
    }
  }
  fresh.Close();
  if (ok && files->Rename(temporary, path) < 0) {
    Problem(path, "cannot be rebuilt: " + files->error());
    ok = 0;
  }
  if (!ok) {
    files->Delete(temporary);
    return 0;
  }
  Note(path, "rebuilt from " + Decimal(count) + " records");
  return 1;
}

int XBaseChecker::Repair(const String& table, const std::vector<String>& indexes) {
  lines_.clear();
  backups_.clear();
  linesfile_ = "";
  Findings findings;
  int result = Examine(table, indexes, &findings);
  if (result != CheckProblems || !findings.opened) return result;

  bool tablechanged = false;
  if (findings.countwrong || findings.partialbytes > 0 || findings.endmarkmissing)
    tablechanged = RepairTable(findings);
  // Records that a raised count brings back were never checked against
  // the indexes, so every index is rebuilt then.
  std::vector<String> rebuild = tablechanged && findings.countwrong ? indexes : findings.damagedindexes;
  if (!rebuild.empty() && OpenTable(table, FileRead)) {
    for (const String& path : rebuild)
      if (std::find(findings.unrepairable.begin(), findings.unrepairable.end(), path) == findings.unrepairable.end())
        RebuildIndex(path);
    CloseTable();
  }
  for (const String& path : findings.unrepairable) Note(path, "cannot be repaired: its header cannot be read");

  Findings after;
  linesfile_ = "";
  prefix_ = "left after repair: ";
  result = Examine(table, indexes, &after);
  prefix_ = "";
  return result;
}
