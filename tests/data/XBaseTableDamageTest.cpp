// Damaged tables and memo files: every failure is one of the table's
// messages, and nothing reads past a buffer (the sanitizer build sees to
// the second half).
#include <gtest/gtest.h>

#include "tests/data/TableFixture.h"

namespace {

class XBaseTableDamageTest : public TableFixture {
 protected:
  // A table of every type with memo texts, and its two files' bytes.
  void MakeSample() {
    std::unique_ptr<XBaseTable> t = Create("s.dbf", {{"NAME", XBaseCHAR, 6, 0},
                                                     {"QTY", XBaseNUMBER, 5, 2},
                                                     {"BORN", XBaseDATE, 8, 0},
                                                     {"OK", XBaseBOOL, 1, 0},
                                                     {"BODY", XBaseMEMO, 10, 0}});
    Add(t.get(), {{"NAME", "ant"}, {"QTY", "1.00"}, {"BORN", "20200101"}, {"OK", "T"}, {"BODY", "short"}});
    Add(t.get(), {{"NAME", "bee"}, {"QTY", "2.50"}, {"BODY", std::string(700, 'x')}});
    Add(t.get(), {{"NAME", "cat"}, {"BODY", ""}});
    dbf_ = Read("s.dbf");
    dbt_ = Read("s.dbt");
  }

  // Opens s.dbf and reads every record and memo it claims (the first
  // twenty). Returns "" or the first error.
  std::string ReadAll() {
    std::unique_ptr<XBaseTable> t = NewTable();
    if (!t->Open(String(P("s.dbf").c_str()), "s.dbf", 3)) return t->error().chars();
    unsigned long count = t->recordcount() < 20 ? t->recordcount() : 20;
    for (unsigned long i = 1; i <= count; i++) {
      if (!t->Goto((long)i)) return t->error().empty() ? "<silent>" : t->error().chars();
      for (XBaseField* f = t->fields()->First(); f; f = t->fields()->Next())
        if (f->data() == nullptr) return t->error().chars();
    }
    return "";
  }

  static bool Known(const std::string& error) {
    static const char* prefixes[] = {"Error reading from '", "Error opening '", "'s.dbf': Unsupported xBase",
                                     "'s.dbf' contains an unsupported field"};
    for (const char* p : prefixes)
      if (error.compare(0, strlen(p), p) == 0) return true;
    return error.empty();
  }

  std::string dbf_, dbt_;
};

TEST_F(XBaseTableDamageTest, EveryTruncationOfTheTableFailsCleanly) {
  MakeSample();
  int headerlength = 32 + 5 * 32 + 1;
  int recordlength = 1 + 6 + 5 + 8 + 1 + 10;
  for (size_t n = 0; n <= dbf_.size(); n += (n < 40 || n + 40 > dbf_.size()) ? 1 : 7) {
    Write("s.dbf", dbf_.substr(0, n));
    std::string error = ReadAll();
    // Whole records read; the first one cut short is a read error.
    bool complete = n >= (size_t)(headerlength + 3 * recordlength);
    if (complete) {
      EXPECT_EQ(error, "") << n;
    } else {
      EXPECT_EQ(error.compare(0, 25, "Error reading from 's.dbf"), 0) << n << ": " << error;
    }
  }
}

TEST_F(XBaseTableDamageTest, EveryTruncationOfTheMemoFileReadsAPrefixOrFails) {
  MakeSample();
  std::vector<size_t> lengths;
  for (size_t n = 0; n <= dbt_.size(); n++)
    if (n < 8 || n % 97 == 0 || n % 512 < 3 || n % 512 > 509 || n + 3 > dbt_.size()) lengths.push_back(n);
  for (size_t n : lengths) {
    Write("s.dbt", dbt_.substr(0, n));
    std::unique_ptr<XBaseTable> t = NewTable();
    int opened = t->Open(String(P("s.dbf").c_str()), "s.dbf", 3);
    if (n < 4) {
      EXPECT_EQ(opened, 0);
      EXPECT_EQ(t->error(), "Error reading from 's.dbt': Unexpected end of file");
      continue;
    }
    ASSERT_EQ(opened, 1) << n;
    ASSERT_EQ(t->Goto(2), 1);
    std::string body = Data(t.get(), "BODY");
    // A block at or past the end of the file is the empty text.
    size_t expect = n <= 1024 ? 0 : std::min<size_t>(700, n - 1024);
    EXPECT_EQ(body, std::string(expect, 'x')) << n;
  }
}

TEST_F(XBaseTableDamageTest, FlippedHeaderAndDescriptorBytesNeverCrash) {
  MakeSample();
  const unsigned char values[] = {0x00, 0x01, 0x0D, 0x1A, 0x20, 0x2A, 0x7F, 0x80, 0xFE, 0xFF};
  int failures = 0;
  std::vector<size_t> positions;
  for (size_t at = 0; at < 32; at++) positions.push_back(at);
  // In each descriptor: the last name byte, the type letter, the length,
  // the decimals, a reserved byte.
  for (size_t field = 0; field < 5; field++)
    for (size_t at : {10, 11, 16, 17, 20}) positions.push_back(32 + 32 * field + at);
  positions.push_back(32 + 5 * 32);
  for (size_t at : positions) {
    for (unsigned char v : values) {
      std::string damaged = dbf_;
      damaged[at] = (char)v;
      Write("s.dbf", damaged);
      std::string error = ReadAll();
      EXPECT_TRUE(Known(error) || error == "<silent>") << at << "=" << (int)v << ": " << error;
      if (!error.empty()) failures++;
    }
  }
  // Damage that the reader ignores (dates, reserved bytes) is common, but
  // a version byte or a type letter must be refused.
  EXPECT_GT(failures, 0);
}

TEST_F(XBaseTableDamageTest, OddRecordAndHeaderLengths) {
  // Fields of 4 + 4 bytes in records of 1 + 4: the second field lies past
  // the record.
  Write("s.dbf", Header(0x03, 2, 97, 5) + Descriptor("A", 'C', 4) + Descriptor("B", 'C', 4) + "\r" +
                          " abcd" + " efgh" + "\x1a");
  std::unique_ptr<XBaseTable> t = Open("s.dbf");
  EXPECT_EQ(Rows(t.get()), "abcd|\nefgh|\n");
  // Writing back writes the header's record length, not the fields'.
  t->Field("B")->Set("zzzz", -1);
  ASSERT_EQ(t->Update(), 1);
  EXPECT_EQ(Read("s.dbf").substr(97), " abcd efgh\x1a");
  ASSERT_EQ(t->Append(), 1);
  EXPECT_EQ(Read("s.dbf").substr(97), " abcd efgh efgh\x1a");

  // Header lengths below 33 hold no descriptor; records start where the
  // header length says, even inside the fixed header.
  for (int headerlength : {0, 1, 20, 32, 33, 64}) {
    Write("s.dbf", Header(0x03, 1, headerlength, 2) + Descriptor("A", 'C', 1) + " a\x1a");
    t = NewTable();
    ASSERT_EQ(t->Open(String(P("s.dbf").c_str()), "s.dbf", 3), 1) << headerlength << t->error().chars();
    EXPECT_EQ(t->fields()->Entries(), 0) << headerlength;
    EXPECT_EQ(t->Goto(1), 1) << headerlength;
  }
  // 65 bytes hold one descriptor, 96 still one, 97 two.
  std::string two = Descriptor("A", 'C', 1) + Descriptor("B", 'C', 1);
  for (int headerlength : {65, 96, 97}) {
    Write("s.dbf", Header(0x03, 0, headerlength, 3) + two + std::string(40, '\r'));
    t = Open("s.dbf");
    EXPECT_EQ(t->fields()->Entries(), headerlength == 97 ? 2 : 1) << headerlength;
  }
}

TEST_F(XBaseTableDamageTest, RecordCountBeyondTheFile) {
  MakeSample();
  std::string damaged = dbf_;
  damaged[4] = 9;
  Write("s.dbf", damaged);
  std::unique_ptr<XBaseTable> t = Open("s.dbf");
  EXPECT_EQ(t->Goto(3), 1);
  EXPECT_EQ(t->Goto(4), 0);
  EXPECT_EQ(t->error(), "Error reading from 's.dbf': Unexpected end of file");
  // Appending behind records that are not there would leave a hole.
  EXPECT_EQ(t->Append(), 0);
  EXPECT_EQ(t->error(), "Error writing to 's.dbf': Record count disagrees with the file size");
  EXPECT_EQ(Read("s.dbf"), damaged);
  // The largest count: no record can be added behind it.
  damaged[4] = damaged[5] = damaged[6] = damaged[7] = (char)0xFF;
  Write("s.dbf", damaged);
  std::unique_ptr<XBaseTable> full = Open("s.dbf");
  EXPECT_EQ(full->recordcount(), 0xFFFFFFFFul);
  EXPECT_EQ(full->Goto(0x7FFFFFFF), 0);
  EXPECT_EQ(full->Append(), 0);
}

TEST_F(XBaseTableDamageTest, MemoBlockNumbersOutOfRange) {
  const std::string nines(26, '9');
  const std::pair<std::string, long> numbers[] = {
      {"  12", 12},          {"0000000003", 3},           {"12ab", 12}, {"", 0}, {"x1", 0},
      {nines, 0x100000000L}, {"-" + nines, -0x100000000L}};
  for (const auto& n : numbers) EXPECT_EQ(XBaseTable::MemoBlockNumber(n.first.c_str()), n.second) << n.first;

  // A memo field of 40 bytes with numbers far past the file, and a negative
  // one, which no file position can hold.
  std::string head = Header(0x83, 3, 65, 41) + Descriptor("BODY", 'M', 40) + "\r";
  Write("s.dbf", head + " " + std::string(39, ' ') + "9" + " " + std::string(40, '9') + " " +
                     std::string(38, ' ') + "-3" + "\x1a");
  Write("s.dbt", Hex("02 00 00 00") + std::string(508, '\0') + "text\x1a\x1a");
  std::unique_ptr<XBaseTable> t = Open("s.dbf");
  EXPECT_EQ(Rows(t.get()), "\n\n<null>\n");
  EXPECT_EQ(t->error(), "Error reading from 's.dbt': Invalid argument");
}

TEST_F(XBaseTableDamageTest, DamagedMemoFileHeaderAndEndMarks) {
  MakeSample();
  std::string damaged = dbt_;
  damaged[3] = 0x40;
  Write("s.dbt", damaged);
  std::unique_ptr<XBaseTable> t = Open("s.dbf");
  ASSERT_EQ(t->Goto(1), 1);
  t->Field("BODY")->Set("new", -1);
  EXPECT_EQ(t->WriteMemoBlock("new"), -1);
  EXPECT_EQ(t->error(), "Error writing to 's.dbt': Next free block lies beyond the end of the file");
  EXPECT_EQ(Read("s.dbt"), damaged);
  // The record is still written, its memo reference left as it was.
  ASSERT_EQ(t->Update(), 1);
  ASSERT_EQ(t->Goto(1), 1);
  EXPECT_EQ(Data(t.get(), "BODY"), "short");

  // The 0x1A bytes of the first text gone: it runs on through the zeros of
  // the gap into the next block, and the text ends at the first NUL.
  damaged = dbt_;
  damaged[512 + 5] = damaged[512 + 6] = 'y';
  Write("s.dbt", damaged);
  t = Open("s.dbf");
  ASSERT_EQ(t->Goto(1), 1);
  EXPECT_EQ(Data(t.get(), "BODY"), "shortyy");
}

}  // namespace
