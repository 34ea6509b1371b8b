// XBaseChecker: looks a table, its memo file and indexes of it over for
// the damage a killed writer, a full disk or a stray editor leaves, and
// repairs what can be rebuilt without losing a record.
//
// What is checked:
// - the table header against the file's size: header length + records x
//   record length + one end mark (0x1A), so a count that disagrees with
//   the whole records in the file, a partial record behind them and a
//   missing end mark are found;
// - every field descriptor: a name, used once; a length fitting its type
//   (DATE 8, BOOL 1, MEMO 10, none of 0); the record length as 1 + the sum
//   of the field lengths; the 0x0D behind the descriptors;
// - every memo reference: a block inside the memo file and below its next
//   free block, holding a text that ends in an end mark and has no NUL
//   byte (a block number into the gap after a text reads as NULs);
// - each index: the B-tree itself (LMTIndexChecker), then every record in
//   the file, deleted ones included (the engine keeps their entries),
//   against the tree: the key its fields give under the expression in the
//   index's header is there exactly once, with no other key for it, and
//   there is no entry for a record that is not in the file.
//
// What Repair changes, after copying each file it is about to change to
// NAME.bak beside it (NAME.bak1, NAME.bak2, ... when that exists; an
// earlier backup is never overwritten):
// - a record count different from the whole records in the file becomes
//   that number, so no whole record is ever dropped; a trailing partial
//   record (a write that never completed, so never acknowledged) is cut
//   off and the end mark written again;
// - an index with any problem is rebuilt from the table through the index
//   code's own Insert, with the key expression and flags of its header;
//   when the header cannot be read, the index is reported as beyond
//   repair.
// Descriptor and memo damage is reported, never repaired.
//
// Each line of lines() names the file it is about and says what is wrong
// or what was done. Check and Repair return CheckClean (0) when nothing
// is wrong (after Repair: when nothing is left), CheckProblems (1) when a
// problem is found or left, CheckUnusable (2) when the table file cannot
// be opened at all. The files should be left alone by writers meanwhile:
// the checker takes only the locks of the single reads and writes it does.
#ifndef SORN_DATA_XBASECHECKER_H
#define SORN_DATA_XBASECHECKER_H

#include <memory>
#include <vector>

#include "core/List.h"
#include "core/String.h"
#include "data/XBaseDatabaseView.h"
#include "data/XBaseIndex.h"
#include "data/XBaseTable.h"

class ScriptParser;

class XBaseChecker {
 public:
  enum Result { CheckClean = 0, CheckProblems = 1, CheckUnusable = 2 };
  // No more lines than this are kept about one file.
  enum { kMaxLinesPerFile = 200 };

  // The parser evaluates the key expressions and gives the file manager.
  explicit XBaseChecker(ScriptParser* parser);
  ~XBaseChecker();
  XBaseChecker(const XBaseChecker&) = delete;
  XBaseChecker& operator=(const XBaseChecker&) = delete;

  int Check(const String& table, const std::vector<String>& indexes);
  // Checks, repairs what it can, and checks again; the result is that of
  // the last check.
  int Repair(const String& table, const std::vector<String>& indexes);

  const std::vector<String>& lines() const { return lines_; }
  // The backups Repair made, in order.
  const std::vector<String>& backups() const { return backups_; }

 private:
  // What the first check found, for the repair to act on.
  struct Findings {
    bool opened = false;
    bool layoutsound = false;  // header and descriptors agree: the size can be trusted
    long wholerecords = 0;
    long partialbytes = 0;
    bool countwrong = false;
    bool endmarkmissing = false;
    std::vector<String> damagedindexes;
    std::vector<String> unrepairable;
  };

  int Examine(const String& table, const std::vector<String>& indexes, Findings* findings);
  int OpenTable(const String& path, int mode);
  void CloseTable();
  void CheckLayout(Findings* findings);
  void CheckSize(Findings* findings);
  // Every memo reference of records 1 to records.
  void CheckMemos(long records);
  // Problems found in the index at path; -1 when it could not be opened.
  int CheckIndex(const String& path, long records);
  int RepairTable(const Findings& findings);
  int RebuildIndex(const String& path);
  // Copies path to the first free NAME.bak, NAME.bak1, ...; 1 or 0.
  int Backup(const String& path);

  void Problem(const String& file, const String& text);
  void Note(const String& file, const String& text);

  ScriptParser* parser_;
  XBaseTable table_;
  SearchableList<XBaseIndex> noindexes_;
  // Declared after the table: its variables point into the table's fields.
  std::unique_ptr<XBaseDatabaseView> view_;
  String tablename_;
  long problems_ = 0;
  String prefix_;
  String linesfile_;
  long linesforfile_ = 0;
  std::vector<String> lines_;
  std::vector<String> backups_;
};

#endif
