// The checker against each kind of damage: what it reports, what Repair
// makes of it, and the backups it leaves (byte for byte the damaged file).
#include "data/XBaseChecker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "data/LMTIndexFile.h"
#include "data/XBaseDatabase.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "tests/host/TestHost.h"

namespace {

class XBaseCheckerTest : public ::testing::Test {
 protected:
  XBaseCheckerTest() : expander_(&host_, 64) {
    Write("t.sn", "");
    expander_.Open(P("t.sn").c_str(), "t.sn");
    parser_ = new ScriptParser(&host_, &expander_);
  }
  ~XBaseCheckerTest() override { delete parser_; }

  std::string P(const std::string& name) { return host_.directory_ + "/" + name; }
  std::string Read(const std::string& name) {
    std::ifstream in(P(name), std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  void Write(const std::string& name, const std::string& bytes) {
    std::ofstream(P(name), std::ios::binary) << bytes;
  }
  void Patch(const std::string& name, long offset, const std::string& bytes) {
    int fd = open(P(name).c_str(), O_WRONLY);
    ASSERT_EQ(pwrite(fd, bytes.data(), bytes.size(), offset), (ssize_t)bytes.size());
    close(fd);
  }
  void Cut(const std::string& name, long length) { ASSERT_EQ(truncate(P(name).c_str(), length), 0); }

  // people.dbf, records 1 to n with a memo each, indexed by id (unique)
  // and by name.
  void Make(int n) {
    XBaseDatabase db(parser_, "people");
    ASSERT_EQ(db.Create("people.dbf", "id NUMBER(6), name CHAR(12), note MEMO"), 1) << db.error().chars();
    ASSERT_EQ(db.CreateIndex("byid.snx", "( id )", "unique"), 1) << db.error().chars();
    ASSERT_EQ(db.CreateIndex("byname.snx", "( name )", "ascending"), 1) << db.error().chars();
    for (int i = 1; i <= n; i++) {
      db.table()->Field("ID")->Set(std::to_string(i).c_str());
      db.table()->Field("NAME")->Set(("n" + std::to_string(i * 7 % 100)).c_str());
      db.table()->Field("NOTE")->Set(("note of " + std::to_string(i)).c_str());
      ASSERT_EQ(db.view()->Add(), 1) << db.view()->error().chars();
    }
  }

  int Check(std::vector<std::string> indexes = {"byid.snx", "byname.snx"}) { return Run(false, indexes); }
  int Repair(std::vector<std::string> indexes = {"byid.snx", "byname.snx"}) { return Run(true, indexes); }
  int Run(bool repair, const std::vector<std::string>& indexes) {
    XBaseChecker checker(parser_);
    std::vector<String> paths;
    for (const std::string& name : indexes) paths.push_back(P(name).c_str());
    int result = repair ? checker.Repair(P("people.dbf").c_str(), paths) : checker.Check(P("people.dbf").c_str(), paths);
    lines_.clear();
    for (const String& line : checker.lines()) {
      std::string text = line.chars();
      // Lines name the files by the paths given; the directory is noise here.
      size_t at;
      while ((at = text.find(host_.directory_ + "/")) != std::string::npos)
        text.erase(at, host_.directory_.size() + 1);
      lines_ += text + "\n";
    }
    backups_.clear();
    for (const String& name : checker.backups()) backups_.push_back(name.chars());
    return result;
  }
  bool Said(const std::string& text) { return lines_.find(text) != std::string::npos; }

  // Record numbers of the index in key order, read with the index code.
  std::string Walk(const std::string& name) {
    LMTIndexFile index(&host_);
    if (!index.Open(P(name).c_str(), name.c_str(), FileRead)) return "unopenable";
    std::string text;
    long recno = 0;
    index._First(&recno, 1);
    for (int guard = 0; recno != 0 && guard < 1000; guard++) {
      text += std::to_string(recno) + " ";
      index._Next(&recno, 1);
    }
    return text;
  }

  TestHost host_;
  MacroExpander expander_;
  ScriptParser* parser_;
  std::string lines_;
  std::vector<std::string> backups_;
};

// Offsets in people.dbf: 3 fields, so the header is 32 + 96 + 1 bytes;
// records are 1 + 6 + 12 + 10 bytes.
const long kHeader = 129;
const long kRecord = 29;

// Damage to the table file itself: each row's lines, then a repair that
// backs the damaged file up byte for byte and leaves every file sound.
TEST_F(XBaseCheckerTest, TableDamageIsReportedAndRepaired) {
  const struct {
    int records;
    long cut;   // the file's new length, or 0
    int count;  // the header's new record count, or 0
    std::vector<std::string> said, repaired;
    int kept;  // whole records after the repair
    size_t backups;
  } rows[] = {
      {10, kHeader + 7 * kRecord + 12, 0,
       {"people.dbf: header says 10 records, file holds 7\n",
        "people.dbf: the file ends in 12 bytes of an incomplete record after record 7",
        // Entries for records 8 to 10 now point past the table.
        "record 8 is not between 1 and 7"},
       {},
       7,
       3},
      // A writer killed between its record and its header leaves this: the
      // count is raised, never lowered.
      {10, 0, 8, {"people.dbf: header says 8 records, file holds 10\n"}, {"people.dbf: record count set from 8 to 10"}, 10, 3},
      {3, kHeader + 3 * kRecord, 0, {"people.dbf: no end mark behind record 3"}, {}, 3, 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    for (const char* name : {"people.dbf", "people.dbt", "byid.snx", "byname.snx", "people.dbf.bak"})
      unlink(P(name).c_str());
    Make(row.records);
    if (row.cut) Cut("people.dbf", row.cut);
    if (row.count) Patch("people.dbf", 4, std::string(1, (char)row.count));
    std::string damaged = Read("people.dbf");
    EXPECT_EQ(Check(), 1);
    for (const std::string& line : row.said) EXPECT_TRUE(Said(line)) << lines_;
    EXPECT_EQ(Repair(), 0) << lines_;
    for (const std::string& line : row.repaired) EXPECT_TRUE(Said(line)) << lines_;
    EXPECT_EQ(backups_.size(), row.backups);
    EXPECT_EQ(Read("people.dbf.bak"), damaged);
    std::string repaired = Read("people.dbf");
    EXPECT_EQ(repaired.size(), (size_t)(kHeader + row.kept * kRecord + 1));
    EXPECT_EQ(repaired.back(), '\x1A');
    EXPECT_EQ(repaired[4], row.kept);
    std::string walk;
    for (int i = 1; i <= row.kept; i++) walk += std::to_string(i) + " ";
    EXPECT_EQ(Walk("byid.snx"), walk);
    EXPECT_EQ(Check(), 0) << lines_;
  }
}

// Records 1 and 3 point past the file, record 2's text loses its end marks
// and runs into the zeros behind it, record 4's runs to the end of the file.
TEST_F(XBaseCheckerTest, BrokenMemoChainsAreReportedAndLeft) {
  Make(4);
  Cut("people.dbt", (long)Read("people.dbt").size() - 2);
  Patch("people.dbt", 2 * 512 + 9, "xx");
  Patch("people.dbf", kHeader + 2 * kRecord + 19, "        99");
  Patch("people.dbf", kHeader + 0 * kRecord + 19, "        77");
  EXPECT_EQ(Check({}), 1);
  EXPECT_TRUE(Said("people.dbt: record 1 field NOTE: block 77 lies past the end of the file")) << lines_;
  EXPECT_TRUE(Said("people.dbt: record 3 field NOTE: block 99 lies past the end")) << lines_;
  EXPECT_TRUE(Said("record 2 field NOTE: block 2 does not start a text")) << lines_;
  EXPECT_TRUE(Said("people.dbt: record 4 field NOTE: block 4: the text runs to the end of the file with no end mark"))
      << lines_;
  EXPECT_EQ(Repair({}), 1);
  EXPECT_TRUE(Said("people.dbt: left after repair: record 4 field NOTE")) << lines_;
  EXPECT_TRUE(backups_.empty());
}

// A key missing or extra in one index, a page loop in the other: both are
// rebuilt, the second with its flags, and the table is left alone.
TEST_F(XBaseCheckerTest, DamagedIndexesAreRebuilt) {
  Make(40);
  LMTIndexFile index(&host_);
  ASSERT_EQ(index.Open(P("byname.snx").c_str(), "byname.snx", FileRead | FileWrite), 1);
  ASSERT_EQ(index.Delete(4, "n28"), 1);
  ASSERT_EQ(index.Insert(6, "stray"), 1);
  ASSERT_EQ(index.Insert(45, "ghost"), 1);
  index.Close();
  ASSERT_EQ(index.Open(P("byid.snx").c_str(), "byid.snx", FileRead), 1);
  long root = index.startingpage();
  index.Close();
  // The root's second child becomes the root itself.
  unsigned char bytes[4];
  LMTIndexPage::Put32(bytes, (uint32_t)root);
  Patch("byid.snx", root * 1024 + 4 + 108, std::string((const char*)bytes, 4));
  std::string damaged = Read("byname.snx");
  std::string table = Read("people.dbf");
  EXPECT_EQ(Check(), 1);
  EXPECT_TRUE(Said("byname.snx: record 4 (key 'n28') has no entry")) << lines_;
  EXPECT_TRUE(Said("byname.snx: record 6 (key 'n42') also has an entry with the key 'stray'")) << lines_;
  EXPECT_TRUE(Said("record 45 is not between 1 and 40")) << lines_;
  EXPECT_TRUE(Said("which is reached twice")) << lines_;
  // Neither index's damage is laid at the other's door.
  std::istringstream text(lines_);
  for (std::string line; std::getline(text, line);)
    if (line.find("n28") != std::string::npos || line.find("record 45 ") != std::string::npos ||
        line.find("stray") != std::string::npos)
      EXPECT_EQ(line.compare(0, 11, "byname.snx:"), 0) << line;
    else
      EXPECT_EQ(line.compare(0, 9, "byid.snx:"), 0) << line;

  EXPECT_EQ(Repair(), 0) << lines_;
  ASSERT_EQ(backups_.size(), 2u);
  EXPECT_EQ(Read("byname.snx.bak"), damaged);
  EXPECT_EQ(Read("people.dbf"), table);
  ASSERT_EQ(index.Open(P("byid.snx").c_str(), "byid.snx", FileRead), 1);
  EXPECT_EQ(index.flags(), LMTIndexUnique);
  EXPECT_NE(std::string(index.keyexpression().chars()).find("id"), std::string::npos);
  EXPECT_EQ(Check(), 0) << lines_;
}

// Sound files give no line and a repair that changes nothing; backups
// never overwrite earlier ones.
TEST_F(XBaseCheckerTest, CleanFilesAndNumberedBackups) {
  Make(30);
  std::string before = Read("people.dbf") + Read("byid.snx") + Read("byname.snx");
  EXPECT_EQ(Check(), 0);
  EXPECT_EQ(lines_, "");
  EXPECT_EQ(Repair(), 0) << lines_;
  EXPECT_TRUE(backups_.empty());
  EXPECT_EQ(Read("people.dbf") + Read("byid.snx") + Read("byname.snx"), before);

  Write("people.dbf.bak", "older");
  Patch("people.dbf", 4, std::string("\x02", 1));
  EXPECT_EQ(Repair(), 0) << lines_;
  EXPECT_EQ(Read("people.dbf.bak"), "older");
  ASSERT_FALSE(backups_.empty());
  EXPECT_EQ(backups_[0], P("people.dbf.bak1"));
  Patch("people.dbf", 4, std::string("\x02", 1));
  EXPECT_EQ(Repair(), 0) << lines_;
  EXPECT_EQ(backups_[0], P("people.dbf.bak2"));
}

// An unreadable index header, damaged descriptors and a missing table are
// reported and left as they are.
TEST_F(XBaseCheckerTest, WhatCannotBeRepairedIsLeft) {
  Make(2);
  Patch("byid.snx", 0, "XXXX");
  std::string index = Read("byid.snx");
  EXPECT_EQ(Check(), 1);
  EXPECT_TRUE(Said("byid.snx: 'byid.snx' is either corrupt")) << lines_;
  EXPECT_EQ(Repair(), 1);
  EXPECT_TRUE(Said("byid.snx: cannot be repaired")) << lines_;
  EXPECT_EQ(Read("byid.snx"), index);

  Patch("people.dbf", 32 + 32 + 16, std::string("\x05", 1));  // NAME: 12 bytes become 5
  Patch("people.dbf", 32 + 64 + 16, std::string("\x04", 1));  // NOTE, a MEMO, of 4 bytes
  EXPECT_EQ(Check({}), 1);
  EXPECT_TRUE(Said("field 3 (NOTE): a M field of length 4, not 10")) << lines_;
  EXPECT_TRUE(Said("the header gives a record length of 29, the fields add up to 16")) << lines_;
  // A size that cannot be trusted is no ground for changing the count.
  EXPECT_EQ(Repair({}), 1);
  EXPECT_TRUE(backups_.empty());

  XBaseChecker checker(parser_);
  EXPECT_EQ(checker.Check(P("absent.dbf").c_str(), {}), XBaseChecker::CheckUnusable);
  ASSERT_EQ(checker.lines().size(), 1u);
}

}  // namespace
