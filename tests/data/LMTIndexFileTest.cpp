#include <algorithm>
#include <map>

#include "tests/data/IndexFixture.h"

namespace {

// The scrambled key of record i in the bigger trees: a permutation of k1 to
// k100, so that a hundred inserts build three levels.
std::string ScrambledKey(int i) { return "k" + std::to_string(i * 37 % 101); }

std::vector<long> Reversed(std::vector<long> v) {
  std::reverse(v.begin(), v.end());
  return v;
}

std::vector<long> Range(long from, long to) {
  std::vector<long> v;
  for (long i = from; i <= to; i++) v.push_back(i);
  return v;
}

// Records sorted by their keys as text (all keys here are non-numeric), the
// newest first among equal keys.
std::vector<long> TextOrder(const std::map<long, std::string>& keys) {
  std::vector<long> records;
  for (auto& entry : keys) records.push_back(entry.first);
  std::stable_sort(records.begin(), records.end(), [&](long a, long b) {
    int c = keys.at(a).compare(keys.at(b));
    return c != 0 ? c < 0 : a > b;
  });
  return records;
}

}  // namespace

class LMTIndexFileTest : public IndexFixture {
 protected:
  // The record a find stands on, and the records from one on, steps long.
  long Find(const std::string& key, int exact) {
    long recno = -1;
    EXPECT_EQ(index_._Find(key.c_str(), exact, &recno, 1), 1) << key;
    return recno;
  }
  std::vector<long> Next(long recno, int steps) {
    std::vector<long> seen{recno};
    for (int i = 0; i < steps; i++) {
      index_._Next(&recno, 1);
      seen.push_back(recno);
    }
    return seen;
  }
};

TEST(LMTIndexCompare, NumbersByValueTextByBytes) {
  const struct {
    const char *a, *b;
    int number;
  } numbers[] = {{"10", "9.5", 1}, {"1.0", "1", 0}, {"", "0", 0}, {"-3", ".5", -1}, {" 5", "5e0", 0}, {"1e-400", "0", 0}};
  for (auto& n : numbers) EXPECT_EQ(LMTIndexFile::NumberCompare(n.a, n.b), n.number) << n.a << " " << n.b;
  // Only plain decimal text is a number, and an overflow is not one.
  for (const char* text : {"inf", "nan", "0x10", "5 ", "1e", "1e400", "-", ".", " ", "1.2.3"})
    EXPECT_EQ(LMTIndexFile::NumberCompare(text, "1"), -2) << text;

  // Without exact the first text need only begin the second; bytes compare unsigned.
  const long S = LMTIndexString, D = LMTIndexDescending;
  const struct {
    const char *a, *b;
    int exact;
    long flags;
    int sign;
  } texts[] = {{"10", "9.5", 1, 0, 1},   {"10", "9.5", 1, S, -1},       {"10", "9.5", 1, D | S, 1},
               {"", "a", 1, 0, -1},      {"", "0", 1, 0, 0},            {"ban", "banana", 0, 0, 0},
               {"bandanas", "bandana", 0, 0, 1}, {"ban", "cherry", 0, D, 1}, {"\xe9", "z", 1, 0, 1}};
  for (auto& t : texts) {
    int c = LMTIndexFile::Compare(t.a, t.b, t.exact, t.flags);
    EXPECT_EQ((c > 0) - (c < 0), t.sign) << t.a << " " << t.b << " " << t.flags;
  }
  EXPECT_NE(LMTIndexFile::Compare("", "0", 1, LMTIndexString), 0);
}

TEST_F(LMTIndexFileTest, NewFileIsAHeaderAndAnEmptyRoot) {
  Create(LMTIndexUnique | LMTIndexString);
  std::string header = Bytes(0, 27);
  const unsigned char expected[27] = {'L', 'M', 'T', 'I', 3, 0, 0, 0,   0, 2, 0, 0, 0, 1,
                                      0,   0,   0,   8,   0, 0, 4, 108, 0, 5, 0, 0, 0};
  EXPECT_EQ(header, std::string((const char*)expected, 27));
  EXPECT_EQ(Bytes(27, 9), std::string("{ code }\0", 9));
  EXPECT_EQ(Bytes(1024, 8), std::string(8, '\0'));
  EXPECT_EQ(Header(), "updates 0 pages 2 root 1 size 2048");
  EXPECT_EQ(index_.keyexpression(), "{ code }");

  long first = 7, last = 7, found = 7;
  EXPECT_TRUE(index_._First(&first, 1) && index_._Last(&last, 1) && index_._Find("a", 0, &found, 1));
  EXPECT_EQ(std::vector<long>({first, last, found}), std::vector<long>({0, 0, 0}));
  EXPECT_EQ(index_._Next(&found, 1), 1);
  EXPECT_EQ(found, 0);

  // The key expression is cut to its field; nothing is written behind it.
  ASSERT_EQ(index_.Create(Path().c_str(), "x.snx", std::string(450, 'x').c_str(), 0), 1);
  EXPECT_EQ(index_.keyexpression(), std::string(400, 'x').c_str());
  EXPECT_EQ(Bytes(427, 1024 - 427), std::string(1024 - 427, '\0'));
}

TEST_F(LMTIndexFileTest, NinthKeySplitsThePage) {
  Create();
  for (int i = 0; i < 9; i++) Insert(i + 1, std::string(1, 'a' + i));
  EXPECT_EQ(Header(), "updates 9 pages 4 root 3 size 4096");
  EXPECT_EQ(Page(3), "1|5:e 2");
  EXPECT_EQ(Page(1), "0|1:a 0|2:b 0|3:c 0|4:d 0");
  EXPECT_EQ(Page(2), "0|6:f 0|7:g 0|8:h 0|9:i 0");
  EXPECT_EQ(Forward(), Range(1, 9));
  EXPECT_EQ(Backward(), Reversed(Range(1, 9)));
  EXPECT_EQ(Problems(9), "");

  // Two key changes: a delete and an insert each.
  Delete(2, "b");
  Insert(2, "ee");
  Delete(7, "g");
  Insert(7, "a0");
  EXPECT_EQ(Header(), "updates 13 pages 4 root 3 size 4096");
  EXPECT_EQ(Forward(), (std::vector<long>{1, 7, 3, 4, 5, 2, 6, 8, 9}));
  EXPECT_EQ(Problems(9), "");
}

// Each key sequence leaves the update count, page count and root that a
// build of the same records by any engine with this file format leaves.
TEST_F(LMTIndexFileTest, DeepTreeWalksAndKeySequencesLeaveTheseHeaders) {
  std::map<long, std::string> keys;
  Create();
  for (int i = 1; i <= 100; i++) Insert(i, keys[i] = ScrambledKey(i));
  EXPECT_EQ(Header(), "updates 100 pages 19 root 13 size 19456");
  EXPECT_EQ(Forward(), TextOrder(keys));
  EXPECT_EQ(Problems(100), "");

  // Finds that end on a key in the root, in an inner page and in a leaf of a
  // three-level tree, then steps across page boundaries both ways.
  auto walk = [&](const char* start, int exact, std::vector<int> steps) {
    long recno = Find(start, exact);
    std::string text = keys[recno];
    for (int step : steps) {
      for (int i = 0; i < (step < 0 ? -step : step); i++)
        EXPECT_EQ(step < 0 ? index_._Prev(&recno, 1) : index_._Next(&recno, 1), 1);
      text += " " + (recno ? keys[recno] : "EOF");
    }
    return text;
  };
  EXPECT_EQ(walk("k53", 1, {1, -2}), "k53 k54 k52");
  EXPECT_EQ(walk("k3", 1, {-1, 2}), "k3 k29 k30");
  EXPECT_EQ(walk("k4", 0, {5, -6}), "k4 k44 k39");
  EXPECT_EQ(walk("k87", 1, {-9, 12}), "k87 k79 k9");
  EXPECT_EQ(walk("k99", 1, {1}), "k99 EOF");
  EXPECT_EQ(walk("k1", 1, {-1}), "k1 EOF");

  // Seek stands on one record wherever it sits.
  for (long r : {26L, 1L, 100L, 11L, 50L}) {
    long found = 0, recno = 0;
    ASSERT_EQ(index_._Seek(keys[r].c_str(), r, 1, &found), 1);
    EXPECT_EQ(found, r);
    std::vector<long> order = TextOrder(keys);
    size_t at = std::find(order.begin(), order.end(), r) - order.begin();
    index_._Next(&recno, 1);
    EXPECT_EQ(recno, at + 1 < order.size() ? order[at + 1] : 0) << keys[r];
    index_._Prev(&recno, 1);
    EXPECT_EQ(recno, r);
  }

  // Sixty key changes, each a delete of the old key and an insert of the
  // new: pages borrow, merge and split all over the tree.
  for (int j = 1; j <= 60; j++) {
    Delete(j, keys[j]);
    Insert(j, keys[j] = "m" + keys[j]);
    if (j % 10 == 0) {
      EXPECT_EQ(Problems(100), "") << "after " << j;
    }
  }
  EXPECT_EQ(Header(), "updates 220 pages 30 root 13 size 30720");
  EXPECT_EQ(Forward(), TextOrder(keys));
  EXPECT_EQ(Backward(), Reversed(TextOrder(keys)));

  // A fresh build of the seventy records that a pack keeps, renumbered.
  Create(0, "p.snx");
  for (int old = 31, record = 1; old <= 100; old++, record++) Insert(record, keys[old]);
  EXPECT_EQ(Header().substr(0, 27), "updates 70 pages 15 root 13");
  EXPECT_EQ(Problems(70), "");

  // A rebuild of all hundred in record order.
  Create(0, "r.snx");
  for (int i = 1; i <= 100; i++) Insert(i, keys[i]);
  EXPECT_EQ(Header().substr(0, 28), "updates 100 pages 21 root 13");

  // Deleting every key merges the tree back to one page; no page is given
  // back and every step leaves a sound tree.
  long pages = index_.numpages();
  for (int i = 100; i >= 1; i -= 3) {
    Delete(i, keys[i]);
    keys.erase(i);
    ASSERT_EQ(Problems(100), "") << "after deleting " << i;
  }
  EXPECT_EQ(Forward(), TextOrder(keys));
  for (auto& entry : std::map<long, std::string>(keys)) Delete(entry.first, entry.second);
  EXPECT_EQ(index_.numpages(), pages);
  EXPECT_EQ(Forward(), std::vector<long>{});
  EXPECT_EQ(Problems(100), "");
  LMTIndexChecker checker(&index_);
  checker.Check(100);
  EXPECT_EQ(checker.pages(), 1);
  EXPECT_EQ(index_.updatecount(), 200);

  // The last key of a one-page tree leaves the root where it was.
  Create(0, "y.snx");
  Insert(1, "a");
  Delete(1, "a");
  EXPECT_EQ(Header(), "updates 2 pages 2 root 1 size 2048");
}

// Each row's keys go in as records 1, 2, ...; both walks give its order.
// Finds and seeks then run on some of the files built.
TEST_F(LMTIndexFileTest, KeyOrdersFindsAndSeeks) {
  std::string stem;
  for (int i = 0; i < 11; i++) stem += "abcdefghij";
  const std::vector<std::string> numbers = {"10", "9.5", "100", "2", "-3", "1.0", "1", ".5"};
  const std::vector<std::string> fruit = {"apple", "apricot", "banana", "band", "bandana", "cherry"};
  const struct {
    long flags;
    std::vector<std::string> keys;
    std::vector<long> order;
  } rows[] = {
      {0, {"b", "a", "b", "a", "b", "c"}, {4, 2, 5, 3, 1, 6}},  // equal keys newest first
      {0, numbers, {5, 8, 7, 6, 4, 2, 1, 3}},                    // numbers by value...
      {LMTIndexString, numbers, {5, 8, 7, 6, 1, 3, 4, 2}},       // ...unless the index is of strings
      {LMTIndexUnique | LMTIndexString, {"1", "1.0"}, {1, 2}},
      {0, fruit, {1, 2, 3, 4, 5, 6}},
      {LMTIndexDescending, fruit, {6, 5, 4, 3, 2, 1}},
      {0, {stem + "A", stem + "B", "abc"}, {3, 2, 1}},  // cut to 99 bytes, the long keys are equal
  };
  for (size_t r = 0; r < sizeof rows / sizeof rows[0]; r++) {
    std::string name = "o" + std::to_string(r) + ".snx";
    SCOPED_TRACE(name);
    Create(rows[r].flags, name.c_str());
    for (size_t i = 0; i < rows[r].keys.size(); i++) Insert(i + 1, rows[r].keys[i]);
    EXPECT_EQ(Forward(), rows[r].order);
    EXPECT_EQ(Backward(), Reversed(rows[r].order));
  }
  Reopen("o0.snx");
  long recno = 0, found = 0;
  EXPECT_EQ(Next(Find("b", 1), 3), (std::vector<long>{5, 3, 1, 6}));
  // Seek picks one record out of a run of equal keys.
  ASSERT_EQ(index_._Seek("b", 3, 1, &found), 1);
  EXPECT_EQ(Next(found, 1), (std::vector<long>{3, 1}));
  ASSERT_EQ(index_._Seek("b", 4, 1, &found), 1);
  EXPECT_EQ(found, 0) << "record 4 has key a";
  index_._Next(&recno, 1);
  EXPECT_EQ(recno, 0) << "the seek ran off the end";

  Reopen("o4.snx");
  struct {
    const char* key;
    int exact;
    long record;
  } finds[] = {{"ban", 0, 3}, {"ban", 1, 0}, {"band", 1, 4},   {"bandanas", 0, 0}, {"ap", 0, 1},
               {"zz", 0, 0},  {"b", 0, 3},   {"cherry", 1, 6}, {"", 0, 1},         {"apple", 0, 1}};
  for (auto& f : finds) EXPECT_EQ(Find(f.key, f.exact), f.record) << f.key << " exact " << f.exact;
  // A miss leaves the cursor where the key would go.
  recno = Find("bb", 1);
  index_._Prev(&recno, 1);
  EXPECT_EQ(recno, 5);

  // Descending, a prefix find stands on the first key it begins in that order.
  Reopen("o5.snx");
  EXPECT_EQ(Next(Find("ban", 0), 3), (std::vector<long>{5, 4, 3, 2}));

  Reopen("o6.snx");
  EXPECT_EQ(Page(1), "0|3:abc 0|2:" + stem.substr(0, 99) + " 0|1:" + stem.substr(0, 99) + " 0");
  EXPECT_EQ(Find(stem + "A", 1), 2);
  EXPECT_EQ(Find(stem.substr(0, 99), 1), 2);
  Delete(1, stem + "C");  // the key is cut before it is looked for
  EXPECT_EQ(Forward(), (std::vector<long>{3, 2}));
}

TEST_F(LMTIndexFileTest, UniqueRefusesAnEqualKeyNumbersByValue) {
  Create(LMTIndexUnique);
  Insert(1, "1");
  EXPECT_EQ(index_.Insert(2, "1.0"), 0);
  EXPECT_EQ(
      index_.error(),
      "Index 'x.snx' was created with the UNIQUE flag and the key '1.0' already exists in the index file");
  EXPECT_EQ(Header(), "updates 1 pages 2 root 1 size 2048");

  // A build that meets a duplicate keeps what went in before it.
  Create(LMTIndexUnique, "u.snx");
  Insert(1, "b");
  Insert(2, "a");
  Insert(3, "c");
  EXPECT_EQ(index_.Insert(4, "a"), 0);
  EXPECT_EQ(Page(1), "0|2:a 0|1:b 0|3:c 0");
  EXPECT_EQ(Header(), "updates 3 pages 2 root 1 size 2048");
}

// A cursor notices through the update count that the tree changed under it,
// whether this object or another one changed it, and finds its entry again.
TEST_F(LMTIndexFileTest, CursorSurvivesUpdatesAndMissingDeletesChangeNothing) {
  Create();
  for (int i = 0; i < 26; i++) Insert(i + 1, std::string(1, 'a' + i));
  LMTIndexFile other(&host_);
  ASSERT_EQ(other.Open(Path().c_str(), "x.snx", FileRead | FileWrite), 1);
  long recno = Find("m", 1);
  ASSERT_EQ(recno, 13);
  for (int i = 0; i < 30; i++) ASSERT_EQ(other.Insert(100 + i, ("m" + std::to_string(i)).c_str()), 1);
  index_._Next(&recno, 1);
  EXPECT_EQ(recno, 100);
  Insert(200, "m00");
  index_._Next(&recno, 1);
  EXPECT_EQ(recno, 200) << "m00 sorts right after m0";
  index_._Prev(&recno, 1);
  EXPECT_EQ(recno, 100);

  // Deleting a record the index does not hold changes nothing; among equal
  // keys spread over several pages the right record goes.
  for (int i = 0; i < 20; i++) Insert(301 + i, "k" + std::to_string(i % 7));
  std::string before = Header();
  EXPECT_EQ(index_.Delete(303, "k4"), 0);
  EXPECT_EQ(index_.error(), "Record is not in index");
  EXPECT_EQ(index_.Delete(999, "k2"), 0);
  EXPECT_EQ(index_.Delete(301, "zz"), 0);
  EXPECT_EQ(Header(), before);
  Delete(303, "k2");
  Delete(317, "k2");
  Delete(310, "k2");
  EXPECT_EQ(Forward().size(), 26u + 30 + 1 + 17);
  EXPECT_EQ(Problems(400), "");
}

TEST_F(LMTIndexFileTest, OpenRefusesWhatIsNotAnIndex) {
  Create();
  Insert(1, "a");
  index_.Close();
  Reopen();
  EXPECT_EQ(Forward(), std::vector<long>{1});
  index_.Close();

  Patch(4, std::string(1, 2));
  Reopen();  // older versions are read
  index_.Close();
  Patch(4, std::string(1, 4));
  EXPECT_EQ(index_.Open(Path().c_str(), "x.snx", FileRead), 0);
  EXPECT_EQ(index_.error(), "'x.snx' was created by a newer version of the software");
  Patch(0, "LMTX");
  EXPECT_EQ(index_.Open(Path().c_str(), "x.snx", FileRead), 0);
  EXPECT_EQ(index_.error(), "'x.snx' is either corrupt or is not a valid index file");
  EXPECT_EQ(index_.Open(Path("none.snx").c_str(), "none.snx", FileRead), 0);
  EXPECT_EQ(index_.error(), "Error opening 'none.snx': No such file or directory");
  EXPECT_EQ(index_.Create(Path("no/dir.snx").c_str(), "dir.snx", "", 0), 0);
  EXPECT_EQ(index_.error(), "Error creating 'dir.snx': No such file or directory");
  EXPECT_EQ(index_.Create(nullptr, "", "n.snx", "", 0), 0);
  EXPECT_EQ(index_.error(), "Internal error opening 'n.snx'");
  EXPECT_EQ(index_.Insert(1, "a"), 0);

  // An empty file and a header whose geometry no page fits in.
  FILE* f = fopen(Path("e.snx").c_str(), "w");
  fclose(f);
  EXPECT_EQ(index_.Open(Path("e.snx").c_str(), "e.snx", FileRead), 0);
  EXPECT_EQ(index_.error(), "'e.snx' is either corrupt or is not a valid index file");
}

// Damaged pages: every walk and update ends with an error instead of
// reading past a page, looping or recursing without end.
class LMTIndexDamageTest : public IndexFixture {
 protected:
  // Nine keys: root 3 over pages 1 and 2.
  void SetUp() override {
    Create();
    for (int i = 0; i < 9; i++) Insert(i + 1, std::string(1, 'a' + i));
  }
  void ExpectAllFail(const std::string& message) {
    long recno = 0;
    EXPECT_EQ(index_._First(&recno, 1) && index_._Last(&recno, 1) && index_._Find("z", 1, &recno, 1) &&
                  index_.Insert(10, "z"),
              0);
    EXPECT_EQ(index_.error(), message.c_str());
    EXPECT_EQ(recno, 0);
    EXPECT_EQ(index_.Delete(1, "a"), 0);
    EXPECT_EQ(index_.error(), message.c_str());
  }
};

// Two children naming one page, too many entries, a page beyond numpages,
// a page that points at itself, keys without their NUL bytes.
TEST_F(LMTIndexDamageTest, BadCountsChildrenAndKeys) {
  Patch32(1024 * 3 + 4 + 108, 1);  // the walk sees page 1 twice and ends
  EXPECT_EQ(Forward(), (std::vector<long>{1, 2, 3, 4, 5, 1, 2, 3, 4}));
  Patch32(1024 * 3 + 4 + 108, 2);

  Patch32(1024 * 3, 10);  // (1024 - 4) / 108 is 9
  ExpectAllFail(
      "Error reading from 'x.snx': File is corrupt (the number of entries is larger than the maximum entries "
      "possible).");
  Patch32(1024 * 3, 9);  // fits in the page, though above the order
  long recno = 0;
  EXPECT_EQ(index_._First(&recno, 1), 1);

  Patch32(1024 * 3 + 4, 7);
  ExpectAllFail("Error reading from 'x.snx': File is corrupt");
  Patch32(13, 4);  // a root equal to numpages passes the check but is not there
  ExpectAllFail("Error reading from 'x.snx': File is corrupt");
  Patch32(13, 3);

  Patch32(1024 * 3 + 4, 3);
  ExpectAllFail("Error reading from 'x.snx': File is corrupt");
  Patch32(1024 * 3 + 4, 1);
  Patch32(1024 * 1 + 4 + 2 * 108, 3);  // a leaf's child leads back to the root
  EXPECT_EQ(index_._Find("c", 1, &recno, 1), 0);
  EXPECT_EQ(index_.error(), "Error reading from 'x.snx': File is corrupt");
  EXPECT_EQ(index_.Insert(10, "c"), 0);
  EXPECT_EQ(index_.Delete(99, "c"), 0);
  EXPECT_EQ(index_.error(), "Error reading from 'x.snx': File is corrupt");
  Patch32(1024 * 1 + 4 + 2 * 108, 0);

  // A leaf that lost its NUL bytes still reads as bounded text.
  for (int i = 0; i < 4; i++) Patch(1024 * 2 + 12 + i * 108, std::string(100, 'x'));
  Patch(1024 * 3 - 8, std::string(8, 'x'));  // the page's last bytes too
  EXPECT_EQ(Forward().size(), 9u);
  EXPECT_NE(Problems(9), "");
  EXPECT_EQ(index_.Insert(10, "z"), 1);
}

TEST_F(LMTIndexDamageTest, GeometryThatNoPageFits) {
  auto put16 = [&](long offset, int value) {
    unsigned char b[2];
    LMTIndexPage::Put16(b, value);
    Patch(offset, std::string((const char*)b, 2));
  };
  // keyrecordsize, then order, each with values that would divide by zero,
  // leave no room for a key, or let a full page overrun its last child.
  struct {
    long offset;
    int value;
  } damage[] = {{21, 0}, {21, 8}, {21, 512}, {21, 1020}, {21, 2000}, {17, 9}, {17, 1}, {17, 0}, {19, 2}};
  for (auto& d : damage) {
    Reopen();
    put16(d.offset, d.value);
    long recno = 0;
    EXPECT_EQ(index_._First(&recno, 1), 0) << d.offset << " " << d.value;
    EXPECT_EQ(index_.error(), "'x.snx' is either corrupt or is not a valid index file");
    EXPECT_EQ(index_.Insert(1, "a"), 0);
    EXPECT_EQ(index_.Delete(1, "a"), 0);
    index_.Close();
    EXPECT_EQ(index_.Open(Path().c_str(), "x.snx", FileRead), 0);
    EXPECT_EQ(index_.error(), "'x.snx' is either corrupt or is not a valid index file");
    put16(d.offset, d.offset == 21 ? 108 : d.offset == 17 ? 8 : 1024);
  }
  // Another geometry that pages fit in is used as it stands.
  Reopen();
  put16(17, 4);
  for (int i = 0; i < 40; i++) Insert(20 + i, "n" + std::to_string(i));
  EXPECT_EQ(Problems(), "");
  EXPECT_EQ(Forward().size(), 49u);
}

// Many child slots naming one page would make a search that runs on to the
// right read it again and again, level upon level: the update stops once
// it has gone down to more pages than the file holds.
TEST_F(LMTIndexDamageTest, SharedPagesEndTheSearch) {
  for (int i = 0; i < 8; i++) {
    Patch32(1024 * 3 + 4 + i * 108, 1);
    Patch(1024 * 3 + 12 + i * 108, std::string(1, 'a' + i) + std::string(1, '\0'));
  }
  Patch32(1024 * 3 + 4 + 8 * 108, 1);
  Patch32(1024 * 3, 8);
  EXPECT_EQ(index_.Delete(99, "0"), 0);
  EXPECT_EQ(index_.error(), "Error reading from 'x.snx': File is corrupt");

  // A walk in one direction enters each page once: entering more pages
  // than the file has ends it.
  long recno = 0;
  int steps = 0;
  ASSERT_EQ(index_._First(&recno, 1), 1);
  while (recno != 0 && index_._Next(&recno, 1)) steps++;
  EXPECT_EQ(index_.error(), "Error reading from 'x.snx': File is corrupt");
  EXPECT_LT(steps, 9 * 4 + 8);
  EXPECT_GT(steps, 4);
}
