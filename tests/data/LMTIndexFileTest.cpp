#include <algorithm>
#include <map>

#include "tests/data/IndexFixture.h"

namespace {

// The scrambled key of record i in the bigger trees: a permutation of k1 to
// k100, so that a hundred inserts build three levels.
std::string ScrambledKey(int i) { return "k" + std::to_string(i * 37 % 101); }

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

class LMTIndexFileTest : public IndexFixture {};

TEST(LMTIndexCompare, NumbersByValueTextByBytes) {
  EXPECT_EQ(LMTIndexFile::NumberCompare("10", "9.5"), 1);
  EXPECT_EQ(LMTIndexFile::NumberCompare("1.0", "1"), 0);
  EXPECT_EQ(LMTIndexFile::NumberCompare("", "0"), 0);
  EXPECT_EQ(LMTIndexFile::NumberCompare("-3", ".5"), -1);
  EXPECT_EQ(LMTIndexFile::NumberCompare(" 5", "5e0"), 0);
  // Only plain decimal text is a number, and an overflow is not one.
  for (const char* text : {"inf", "nan", "0x10", "5 ", "1e", "1e400", "-", ".", " ", "1.2.3"})
    EXPECT_EQ(LMTIndexFile::NumberCompare(text, "1"), -2) << text;
  EXPECT_EQ(LMTIndexFile::NumberCompare("1e-400", "0"), 0);

  EXPECT_GT(LMTIndexFile::Compare("10", "9.5", 1, 0), 0);
  EXPECT_LT(LMTIndexFile::Compare("10", "9.5", 1, LMTIndexString), 0);
  EXPECT_GT(LMTIndexFile::Compare("10", "9.5", 1, LMTIndexDescending | LMTIndexString), 0);
  EXPECT_LT(LMTIndexFile::Compare("", "a", 1, 0), 0);
  EXPECT_EQ(LMTIndexFile::Compare("", "0", 1, 0), 0);
  EXPECT_NE(LMTIndexFile::Compare("", "0", 1, LMTIndexString), 0);
  // Without exact the first text need only begin the second.
  EXPECT_EQ(LMTIndexFile::Compare("ban", "banana", 0, 0), 0);
  EXPECT_GT(LMTIndexFile::Compare("bandanas", "bandana", 0, 0), 0);
  EXPECT_GT(LMTIndexFile::Compare("ban", "cherry", 0, LMTIndexDescending), 0);
  EXPECT_GT(LMTIndexFile::Compare("\xe9", "z", 1, 0), 0) << "bytes compare unsigned";
}

TEST_F(LMTIndexFileTest, NewFileIsAHeaderAndAnEmptyRoot) {
  Create(LMTIndexUnique | LMTIndexString);
  std::string header = Bytes(0, 27);
  const unsigned char expected[27] = {'L', 'M', 'T', 'I', 3, 0, 0, 0, 0, 2, 0, 0, 0, 1,
                                      0,   0,   0,   8,   0, 0, 4, 108, 0, 5, 0, 0, 0};
  EXPECT_EQ(header, std::string((const char*)expected, 27));
  EXPECT_EQ(Bytes(27, 9), std::string("{ code }\0", 9));
  EXPECT_EQ(Bytes(1024, 8), std::string(8, '\0'));
  EXPECT_EQ(Header(), "updates 0 pages 2 root 1 size 2048");
  EXPECT_EQ(index_.keyexpression(), "{ code }");

  long recno = 7;
  EXPECT_EQ(index_._First(&recno, 1), 1);
  EXPECT_EQ(recno, 0);
  recno = 7;
  EXPECT_EQ(index_._Last(&recno, 1), 1);
  EXPECT_EQ(recno, 0);
  recno = 7;
  EXPECT_EQ(index_._Find("a", 0, &recno, 1), 1);
  EXPECT_EQ(recno, 0);
  EXPECT_EQ(index_._Next(&recno, 1), 1);
  EXPECT_EQ(recno, 0);
}

TEST_F(LMTIndexFileTest, KeyExpressionIsCutToItsField) {
  std::string longer(450, 'x');
  ASSERT_EQ(index_.Create(Path().c_str(), "x.snx", longer.c_str(), 0), 1);
  EXPECT_EQ(index_.keyexpression(), std::string(400, 'x').c_str());
  EXPECT_EQ(Bytes(427, 1024 - 427), std::string(1024 - 427, '\0'));  // nothing is written behind the header
}

TEST_F(LMTIndexFileTest, NinthKeySplitsThePage) {
  Create();
  for (int i = 0; i < 9; i++) Insert(i + 1, std::string(1, 'a' + i));
  EXPECT_EQ(Header(), "updates 9 pages 4 root 3 size 4096");
  EXPECT_EQ(Page(3), "1|5:e 2");
  EXPECT_EQ(Page(1), "0|1:a 0|2:b 0|3:c 0|4:d 0");
  EXPECT_EQ(Page(2), "0|6:f 0|7:g 0|8:h 0|9:i 0");
  EXPECT_EQ(Forward(), Range(1, 9));
  std::vector<long> back = Range(1, 9);
  std::reverse(back.begin(), back.end());
  EXPECT_EQ(Backward(), back);
  EXPECT_EQ(Problems(9), "");
}

// Each key sequence leaves the update count, page count and root that a
// build of the same records by any engine with this file format leaves.
TEST_F(LMTIndexFileTest, KeySequencesLeaveTheseHeaders) {
  std::map<long, std::string> keys;
  Create();
  for (int i = 1; i <= 100; i++) Insert(i, keys[i] = ScrambledKey(i));
  EXPECT_EQ(Header(), "updates 100 pages 19 root 13 size 19456");
  EXPECT_EQ(Forward(), TextOrder(keys));
  EXPECT_EQ(Problems(100), "");

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
  std::vector<long> order = TextOrder(keys);
  EXPECT_EQ(Forward(), order);
  std::reverse(order.begin(), order.end());
  EXPECT_EQ(Backward(), order);

  // A fresh build of the seventy records that a pack keeps, renumbered.
  Create(0, "p.snx");
  for (int old = 31, record = 1; old <= 100; old++, record++) Insert(record, keys[old]);
  EXPECT_EQ(Header().substr(0, 27), "updates 70 pages 15 root 13");
  EXPECT_EQ(Problems(70), "");

  // A rebuild of all hundred in record order.
  Create(0, "r.snx");
  for (int i = 1; i <= 100; i++) Insert(i, keys[i]);
  EXPECT_EQ(Header().substr(0, 28), "updates 100 pages 21 root 13");
}

TEST_F(LMTIndexFileTest, KeyChangesInATwoLevelTree) {
  Create();
  for (int i = 0; i < 9; i++) Insert(i + 1, std::string(1, 'a' + i));
  Delete(2, "b");
  Insert(2, "ee");
  Delete(7, "g");
  Insert(7, "a0");
  EXPECT_EQ(Header(), "updates 13 pages 4 root 3 size 4096");
  EXPECT_EQ(Forward(), (std::vector<long>{1, 7, 3, 4, 5, 2, 6, 8, 9}));
  EXPECT_EQ(Problems(9), "");
}

TEST_F(LMTIndexFileTest, EqualKeysNewestFirst) {
  Create();
  const char* keys[] = {"b", "a", "b", "a", "b", "c"};
  for (int i = 0; i < 6; i++) Insert(i + 1, keys[i]);
  EXPECT_EQ(Forward(), (std::vector<long>{4, 2, 5, 3, 1, 6}));
  EXPECT_EQ(Backward(), (std::vector<long>{6, 1, 3, 5, 2, 4}));
  long recno = 0;
  ASSERT_EQ(index_._Find("b", 1, &recno, 1), 1);
  EXPECT_EQ(recno, 5);
  std::vector<long> after;
  for (int i = 0; i < 3; i++) {
    index_._Next(&recno, 1);
    after.push_back(recno);
  }
  EXPECT_EQ(after, (std::vector<long>{3, 1, 6}));
  // Seek picks one record out of a run of equal keys.
  long found = 0;
  ASSERT_EQ(index_._Seek("b", 3, 1, &found), 1);
  EXPECT_EQ(found, 3);
  index_._Next(&recno, 1);
  EXPECT_EQ(recno, 1);
  ASSERT_EQ(index_._Seek("b", 4, 1, &found), 1);
  EXPECT_EQ(found, 0) << "record 4 has key a";
  index_._Next(&recno, 1);
  EXPECT_EQ(recno, 0) << "the seek ran off the end";
}

TEST_F(LMTIndexFileTest, UniqueRefusesAnEqualKey) {
  Create(LMTIndexUnique);
  Insert(1, "1");
  EXPECT_EQ(index_.Insert(2, "1.0"), 0);
  EXPECT_EQ(index_.error(),
            "Index 'x.snx' was created with the UNIQUE flag and the key '1.0' already exists in the index file");
  EXPECT_EQ(Header(), "updates 1 pages 2 root 1 size 2048");

  Create(LMTIndexUnique | LMTIndexString, "s.snx");
  Insert(1, "1");
  Insert(2, "1.0");
  EXPECT_EQ(Forward(), (std::vector<long>{1, 2}));

  // A build that meets a duplicate keeps what went in before it.
  Create(LMTIndexUnique, "u.snx");
  Insert(1, "b");
  Insert(2, "a");
  Insert(3, "c");
  EXPECT_EQ(index_.Insert(4, "a"), 0);
  EXPECT_EQ(Page(1), "0|2:a 0|1:b 0|3:c 0");
  EXPECT_EQ(Header(), "updates 3 pages 2 root 1 size 2048");
}
