#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "tests/core/ScopedTimeZone.h"
#include "tests/data/TableFixture.h"

namespace {

class XBaseTableTest : public TableFixture {
 protected:
  std::unique_ptr<XBaseTable> Items() {
    return Create("items.dbf", {{"NAME", XBaseCHAR, 10, 0},
                                {"QTY", XBaseNUMBER, 3, 0},
                                {"PRICE", XBaseNUMBER, 8, 2},
                                {"BORN", XBaseDATE, 8, 0},
                                {"OK", XBaseBOOL, 1, 0}});
  }
  std::unique_ptr<XBaseTable> Stock() {
    std::unique_ptr<XBaseTable> t =
        Create("stock.dbf", {{"NAME", XBaseCHAR, 6, 0}, {"QTY", XBaseNUMBER, 3, 0}});
    Add(t.get(), {{"NAME", "ant"}, {"QTY", "1"}});
    Add(t.get(), {{"NAME", "bee"}, {"QTY", "2"}});
    Add(t.get(), {{"NAME", "cat"}, {"QTY", "3"}});
    return t;
  }
  static std::string Today() {
    time_t now = time(nullptr);
    struct tm utc;
    gmtime_r(&now, &utc);
    return std::string{(char)utc.tm_year, (char)(utc.tm_mon + 1), (char)utc.tm_mday};
  }
};

TEST_F(XBaseTableTest, CreateWritesHeaderDescriptorsAndEndMark) {
  std::unique_ptr<XBaseTable> t = Items();
  std::string bytes = Read("items.dbf");
  ASSERT_EQ(bytes.size(), 194u);
  EXPECT_EQ(bytes[0], 0x03);
  EXPECT_EQ(bytes.substr(1, 3), Today());
  EXPECT_EQ(bytes.substr(4, 189), Header(0x03, 0, 193, 31).substr(4) + Descriptor("NAME", 'C', 10) +
                                      Descriptor("QTY", 'N', 3) + Descriptor("PRICE", 'N', 8, 2) +
                                      Descriptor("BORN", 'D', 8) + Descriptor("OK", 'L', 1) + "\r");
  EXPECT_EQ(bytes[193], 0x1a);
  EXPECT_EQ(Read("items.dbt"), "<missing>");
  // An empty table: no current record, and Goto(1) fails without a word.
  EXPECT_EQ(t->recordcount(), 0u);
  EXPECT_EQ(t->recno(), 0);
  EXPECT_EQ(t->Goto(1), 0);
  EXPECT_EQ(t->error(), "");

  // The same file opened again gives the same layout back.
  std::unique_ptr<XBaseTable> again = Open("items.dbf");
  EXPECT_EQ(again->headerlength(), 193);
  EXPECT_EQ(again->recordlength(), 31);
  EXPECT_EQ(again->hasmemo(), 0);
  std::string layout;
  for (XBaseField* f = again->fields()->First(); f; f = again->fields()->Next())
    layout += std::string(f->name()) + XBaseFieldLetter(f->type()) + std::to_string(f->length()) + "." +
              std::to_string(f->decimalcount()) + " ";
  EXPECT_EQ(layout, "NAMEC10.0 QTYN3.0 PRICEN8.2 BORND8.0 OKL1.0 ");
}

TEST_F(XBaseTableTest, AppendLaysOutRecordsAndMovesEndMark) {
  std::unique_ptr<XBaseTable> t = Items();
  Add(t.get(), {{"NAME", "Lamp"}, {"QTY", "7"}, {"PRICE", "12.50"}, {"BORN", "20240301"}, {"OK", "T"}});
  EXPECT_EQ(t->recno(), 1);
  Add(t.get(),
      {{"NAME", "Desk chair"}, {"QTY", "120"}, {"PRICE", "-3.00"}, {"BORN", "19991231"}, {"OK", "F"}});
  EXPECT_EQ(t->recno(), 2);
  EXPECT_EQ(t->recordcount(), 2u);
  std::string bytes = Read("items.dbf");
  ASSERT_EQ(bytes.size(), 256u);
  EXPECT_EQ(bytes.substr(4, 8), Hex("02 00 00 00 c1 00 1f 00"));
  EXPECT_EQ(bytes.substr(193), std::string(" Lamp        7   12.5020240301T"
                                           " Desk chair120   -3.0019991231F\x1a"));

  // Another reader sees both records, with blanks trimmed as each type says.
  std::unique_ptr<XBaseTable> r = Open("items.dbf");
  EXPECT_EQ(Rows(r.get()), "Lamp|7|12.50|20240301|T\nDesk chair|120|-3.00|19991231|F\n");
}

TEST_F(XBaseTableTest, FieldValuesAreCutAndTrimmedByType) {
  std::unique_ptr<XBaseTable> t = Create("codes.dbf", {{"CODE", XBaseCHAR, 5, 0},
                                                       {"NOTE", XBaseCHAR, 6, 0},
                                                       {"N", XBaseNUMBER, 4, 0},
                                                       {"D", XBaseDATE, 8, 0},
                                                       {"B", XBaseBOOL, 1, 0}});
  // Cut at Set, without a word; trailing blanks stay until the record is read.
  XBaseField* code = t->Field("code");
  code->Set("ABCDEFGH", -1);
  EXPECT_STREQ(code->data(), "ABCDE");
  t->Field("NOTE")->Set(String("ab   "));
  EXPECT_STREQ(t->Field("NOTE")->data(), "ab   ");
  ASSERT_EQ(t->Append(), 1);
  Add(t.get(), {{"CODE", "  x"}, {"NOTE", ""}, {"N", ""}, {"D", ""}, {"B", ""}});
  // CHAR keeps leading blanks; blank NUMBER, CHAR read empty; DATE and BOOL
  // come back as the bytes stand.
  EXPECT_EQ(Rows(t.get()), "ABCDE|ab||        | \n  x|||        | \n");
  EXPECT_EQ(Read("codes.dbf").substr(193),
            " ABCDEab                 "
            "   x                     \x1a");
}

TEST_F(XBaseTableTest, MemoFileIsMadeFreshAndTextsStartAtBlocks) {
  std::unique_ptr<XBaseTable> t =
      Create("notes.dbf", {{"TITLE", XBaseCHAR, 8, 0}, {"BODY", XBaseMEMO, 10, 0}});
  std::string bytes = Read("notes.dbf");
  EXPECT_EQ((unsigned char)bytes[0], 0x83);
  EXPECT_EQ(bytes.substr(4), Header(0x83, 0, 97, 19).substr(4) + Descriptor("TITLE", 'C', 8) +
                                 Descriptor("BODY", 'M', 10) + "\r\x1a");
  EXPECT_EQ(Read("notes.dbt"), Hex("01 00 00 00") + std::string(508, '\0') + "\x1a");
  EXPECT_EQ(t->memodisplayname(), "notes.dbt");

  // Memo texts start at block boundaries: 510 bytes and two end marks fill
  // one block, 511 take two.
  std::string a(510, 'a'), b(511, 'b');
  Add(t.get(), {{"TITLE", "one"}, {"BODY", "hello"}});
  Add(t.get(), {{"TITLE", "two"}, {"BODY", "second text"}});
  // An empty text takes no block and leaves ten blanks.
  Add(t.get(), {{"TITLE", "three"}, {"BODY", ""}});
  Add(t.get(), {{"TITLE", "a"}, {"BODY", a}});
  Add(t.get(), {{"TITLE", "b"}, {"BODY", b}});
  Add(t.get(), {{"TITLE", "c"}, {"BODY", "c"}});
  EXPECT_EQ(Read("notes.dbf").substr(97), std::string(" one     ") + "         1" + " two     " + "         2" +
                                               " three   " + "          " + " a       " + "         3" +
                                               " b       " + "         4" + " c       " + "         6" + "\x1a");
  std::string memo = Read("notes.dbt");
  ASSERT_EQ(memo.size(), 6 * 512 + 3u);
  EXPECT_EQ(memo.substr(0, 4), Hex("07 00 00 00"));
  EXPECT_EQ(memo.substr(512, 512), "hello\x1a\x1a" + std::string(505, '\0'));
  EXPECT_EQ(memo.substr(1024, 13), "second text\x1a\x1a");
  EXPECT_EQ(memo.substr(3 * 512 - 2, 6), Hex("00 00 61 61 61 61"));
  EXPECT_EQ(memo.substr(4 * 512 - 4, 6), Hex("61 61 1a 1a 62 62"));
  EXPECT_EQ(memo.substr(4 * 512 + 509, 6), Hex("62 62 1a 1a 00 00"));
  EXPECT_EQ(memo.substr(6 * 512), "c\x1a\x1a");

  std::unique_ptr<XBaseTable> r = Open("notes.dbf");
  EXPECT_EQ(r->nextfreeblock(), 7);
  EXPECT_EQ(Rows(r.get()), "one|hello\ntwo|second text\nthree|\na|" + a + "\nb|" + b + "\nc|c\n");
}

TEST_F(XBaseTableTest, UpdatedMemoGoesToNewBlockAndEmptyTextToBlanks) {
  std::unique_ptr<XBaseTable> t = Create("n.dbf", {{"BODY", XBaseMEMO, 10, 0}});
  Add(t.get(), {{"BODY", "first version"}});
  t->Field("BODY")->Set("v2", -1);
  ASSERT_EQ(t->Update(), 1) << t->error().chars();
  Add(t.get(), {{"BODY", "other"}});
  t->Field("BODY")->Set("", 0);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(Read("n.dbf").substr(65), std::string("          2") + "           " + "\x1a");
  std::string memo = Read("n.dbt");
  ASSERT_EQ(memo.size(), 1543u);
  EXPECT_EQ(memo.substr(0, 4), Hex("04 00 00 00"));
  EXPECT_EQ(memo.substr(512, 15), "first version\x1a\x1a");
  EXPECT_EQ(memo.substr(1024, 4), "v2\x1a\x1a");
  EXPECT_EQ(memo.substr(1536), "other\x1a\x1a");
  EXPECT_EQ(Rows(t.get()), "v2\n\n");

  // A dirty memo is stored again by each update until it is read.
  t = Create("d.dbf", {{"BODY", XBaseMEMO, 10, 0}});
  Add(t.get(), {{"BODY", "x"}});
  ASSERT_EQ(t->Update(), 1);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(t->nextfreeblock(), 4);
  EXPECT_EQ(Read("d.dbf").substr(65), "          3\x1a");
  // After a read the block number is written back as it stands.
  ASSERT_EQ(t->Goto(1), 1);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(t->nextfreeblock(), 4);
  // A text is stored up to its NUL and read back up to its first 0x1A.
  t->Field("BODY")->Set(std::string("ab\0cd", 5).c_str(), 5);
  ASSERT_EQ(t->Update(), 1);
  t->Field("BODY")->Set("cut\x1ahere", -1);
  ASSERT_EQ(t->Update(), 1);
  ASSERT_EQ(t->Goto(1), 1);
  EXPECT_EQ(Data(t.get(), "BODY"), "cut");
  EXPECT_EQ(Read("d.dbt").substr(2048, 4), "ab\x1a\x1a");
}

TEST_F(XBaseTableTest, UpdatesRewriteTheCurrentRecordAndStampTheDate) {
  // The header date is the UTC date: a zone fourteen hours ahead puts the
  // local date a day after the UTC date for most of the day.
  ScopedTimeZone ahead("XYZ-14");
  std::unique_ptr<XBaseTable> t = Stock();
  std::string bytes = Read("stock.dbf");
  EXPECT_EQ(bytes.substr(1, 3), Today());
  // A stale date shows that the flag writes stamp the header again.
  bytes[1] = bytes[2] = bytes[3] = 0;
  Write("stock.dbf", bytes);
  ASSERT_EQ(t->Goto(2), 1);
  EXPECT_EQ(Read("stock.dbf").substr(1, 3), std::string(3, '\0'));
  t->Field("NAME")->Set("zzz", -1);
  ASSERT_EQ(t->UpdateDeleted(1), 1);
  EXPECT_EQ(t->deleted(), 1);
  EXPECT_EQ(Data(t.get(), "NAME"), "zzz");
  ASSERT_EQ(t->Goto(3), 1);
  ASSERT_EQ(t->UpdateDeleted(1), 1);
  ASSERT_EQ(t->UpdateDeleted(0), 1);
  EXPECT_EQ(t->deleted(), 0);
  bytes = Read("stock.dbf");
  EXPECT_EQ(bytes.substr(1, 3), Today());
  EXPECT_EQ(bytes.substr(4, 4), Hex("03 00 00 00"));
  EXPECT_EQ(bytes.substr(97), " ant     1*bee     2 cat     3\x1a");
  ASSERT_EQ(t->Goto(2), 1);
  EXPECT_EQ(t->deleted(), 1);
  EXPECT_EQ(Data(t.get(), "NAME"), "bee");

  // Update writes the whole current record and nothing else.
  t->Field("NAME")->Set("bumblebee", -1);
  t->Field("QTY")->Set("20", -1);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(t->recno(), 2);
  EXPECT_EQ(t->recordcount(), 3u);
  // An edit that is not written is lost when another record is read.
  ASSERT_EQ(t->Goto(1), 1);
  t->Field("NAME")->Set("zzz", -1);
  ASSERT_EQ(t->Goto(3), 1);
  ASSERT_EQ(t->Update(), 1);
  bytes = Read("stock.dbf");
  EXPECT_EQ(bytes.substr(4, 4), Hex("03 00 00 00"));
  EXPECT_EQ(bytes.substr(97), " ant     1*bumble 20 cat     3\x1a");
  // No current record: nothing to update, and nothing is written.
  std::unique_ptr<XBaseTable> fresh = Open("stock.dbf");
  EXPECT_EQ(fresh->Update(), 0);
  EXPECT_EQ(fresh->UpdateDeleted(1), 0);
  EXPECT_EQ(Read("stock.dbf"), bytes);
}

TEST_F(XBaseTableTest, SwapOriginalShowsTheRecordAsOnDisk) {
  std::unique_ptr<XBaseTable> t = Create("s.dbf", {{"NAME", XBaseCHAR, 6, 0}, {"BODY", XBaseMEMO, 10, 0}});
  Add(t.get(), {{"NAME", "ant"}, {"BODY", "old text"}});
  ASSERT_EQ(t->Goto(1), 1);
  t->Field("NAME")->Set("bee", -1);
  // The edited memo has not been read from disk yet: the swap must fetch
  // the disk text without losing the edit.
  t->Field("BODY")->Set("new text", -1);
  auto both = [&] { return Data(t.get(), "NAME") + "|" + Data(t.get(), "BODY"); };
  t->SwapOriginal();
  EXPECT_EQ(both(), "ant|old text");
  t->SwapOriginal();
  EXPECT_EQ(both(), "bee|new text");
  ASSERT_EQ(t->Update(), 1);
  // After a successful Update the disk holds the edit: nothing to swap.
  t->SwapOriginal();
  EXPECT_EQ(both(), "bee|new text");
}

// Files written elsewhere: each row's table (and memo file) read back.
TEST_F(XBaseTableTest, ReadsTablesWrittenElsewhere) {
  // Twenty surplus header bytes, no 0x0D, junk in the reserved bytes, and
  // records two bytes longer than their fields.
  std::string loose = Header(0x03, 2, 32 + 64 + 1 + 20, 1 + 4 + 3 + 2);
  for (int i = 12; i < 32; i++) loose[i] = 'r';
  std::string a = Descriptor("WORD", 'C', 4), b = Descriptor("NUM", 'N', 3);
  a.replace(12, 4, "JUNK");
  b.replace(18, 14, "fourteen bytes");
  loose += a + b + "Z" + "surplus header bytes" + " abcd 12##*xy    5##\x1a";

  std::string memo = Hex("05 00 00 00") + std::string("junk in the reserved bytes") + std::string(482, '#');
  std::string long_text;
  for (int i = 0; i < 60; i++) long_text += "abcdefghij";
  memo += long_text + "\x1a\x1a";
  memo.resize(1536, '\0');
  memo += "cut here\x1ahidden\x1a\x1a";
  memo.resize(2048, '\0');
  memo += "tail text";

  const struct {
    const char* name;
    std::string dbf, dbt, rows;
  } tables[] = {
      // Each record: flag, NAME (8), AGE (3), SINCE (8), VIP (1).
      {"people", Header(0x03, 4, 161, 21) + Descriptor("NAME", 'C', 8) + Descriptor("AGE", 'N', 3) +
                     Descriptor("SINCE", 'D', 8) + Descriptor("VIP", 'L', 1) + "\r" + " Ann      4220010915Y" +
                     "*Bob       7        n" + "x  Cy       19800229t" + "         10019991231?\x1a",
       "", "Ann|42|20010915|Y\n*Bob|7|        |n\n  Cy||19800229|t\n|100|19991231|?\n"},
      {"loose", loose, "", "abcd|12\n*xy|5\n"},
      {"zero", Header(0x03, 1, 97, 4) + Descriptor("NONE", 'C', 0) + Descriptor("ID", 'C', 3) + "\r abc\x1a", "",
       "|abc\n"},
      // The last record is one byte short: its title runs on into its number.
      {"memos", Header(0x83, 6, 97, 17) + Descriptor("TITLE", 'C', 6) + Descriptor("BODY", 'M', 10) + "\r" +
                    " first          1 lead0 0000000003 blank            zero           0" +
                    " tail           4 far  9999999999\x1a",
       memo, "first|" + long_text + "\nlead0|cut here\nblank|\nzero|\ntail|tail text\nfar  9|\n"},
  };
  for (const auto& table : tables) {
    SCOPED_TRACE(table.name);
    Write(table.name + std::string(".dbf"), table.dbf);
    if (!table.dbt.empty()) Write(table.name + std::string(".dbt"), table.dbt);
    std::unique_ptr<XBaseTable> t = Open(table.name + std::string(".dbf"));
    EXPECT_EQ(Rows(t.get()), table.rows);
  }

  std::unique_ptr<XBaseTable> t = Open("people.dbf");
  EXPECT_EQ(t->recordcount(), 4u);
  EXPECT_EQ(std::vector<int>({t->year(), t->month(), t->day()}), std::vector<int>({99, 12, 31}));
  EXPECT_EQ(t->Goto(5), 0);
  EXPECT_EQ(t->Goto(0), 0);
  EXPECT_EQ(t->error(), "");
  // Out of range says nothing, even after a failure that did.
  t->Error("stale");
  EXPECT_EQ(t->Goto(5), 0);
  EXPECT_EQ(t->error(), "");
  EXPECT_EQ(Open("memos.dbf")->nextfreeblock(), 5);

  // A zero-length field is accepted and takes no bytes.
  t = Open("zero.dbf");
  ASSERT_EQ(t->Goto(1), 1);
  t->Field("NONE")->Set("ignored", -1);
  t->Field("ID")->Set("xyz", -1);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(Read("zero.dbf").substr(97), " xyz\x1a");
}

TEST_F(XBaseTableTest, OpenAndCreateFailuresNameTheFileAsDisplayed) {
  const struct {
    const char* name;
    std::string bytes;  // none: the file is missing
    const char* error;
  } cases[] = {
      {"nosuch.dbf", "", "Error opening 'nosuch.dbf': No such file or directory"},
      {"badver.dbf", Header(0x30, 1, 65, 4) + Descriptor("ID", 'C', 3) + "\r abc\x1a",
       "'badver.dbf': Unsupported xBase file version (0x30)"},
      {"badtype.dbf", Header(0x03, 0, 97, 12) + Descriptor("ID", 'C', 3) + Descriptor("PAY", 'F', 8) + "\r\x1a",
       "'badtype.dbf' contains an unsupported field of type 'F'"},
      // Marked as having a memo, so its memo file must be there.
      {"nomemo.dbf", Header(0x83, 1, 65, 4) + Descriptor("ID", 'C', 3) + "\r abc\x1a",
       "Error opening 'nomemo.dbt': No such file or directory"},
      // The header promises three descriptors; the file ends after one.
      {"short.dbf", Header(0x03, 0, 129, 10) + Descriptor("A", 'C', 9).substr(0, 30),
       "Error reading from 'short.dbf': Unexpected end of file"},
      // A MEMO field in a file marked 0x03 still opens the memo file.
      {"memo03.dbf", Header(0x03, 0, 65, 11) + Descriptor("B", 'M', 10) + "\r\x1a",
       "Error opening 'memo03.dbt': No such file or directory"},
  };
  std::unique_ptr<XBaseTable> t = NewTable();
  for (const auto& c : cases) {
    if (!c.bytes.empty()) Write(c.name, c.bytes);
    EXPECT_EQ(t->Open(String(P(c.name).c_str()), c.name, 3), 0) << c.name;
    EXPECT_EQ(t->error(), c.error);
  }

  List<XBaseField> fields;
  fields.Insert(new XBaseField(nullptr, "A", XBaseCHAR, 3, 0));
  EXPECT_EQ(t->Create(String(P("no/dir.dbf").c_str()), "no/dir.dbf", String(), String(), fields), 0);
  EXPECT_EQ(t->error(), "Error creating 'no/dir.dbf': No such file or directory");
  EXPECT_EQ(t->Create(nullptr, "x.dbf", "x.dbf", nullptr, "", "", fields), 0);
  EXPECT_EQ(t->error(), "Internal error opening 'x.dbf'");

  fields.Insert(new XBaseField(nullptr, "M", XBaseMEMO, 10, 0));
  File* file = sorn_.filemanager()->Open(String(P("y.dbf").c_str()), XBaseTable::kCreateMode);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(t->Create(file, P("y.dbf").c_str(), "y.dbf", nullptr, "", "", fields), 0);
  EXPECT_EQ(t->error(), "Internal errorl opening 'y.dbt'");
  // The files stay the caller's on failure.
  EXPECT_EQ(t->isopen(), 0);
  delete file;
}

}  // namespace
