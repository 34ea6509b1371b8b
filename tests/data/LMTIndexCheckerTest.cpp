#include "tests/data/IndexFixture.h"

// Each kind of damage gives its own line, and a sound file none.
class LMTIndexCheckerTest : public IndexFixture {
 protected:
  // Root 3 over leaves 1 (a b c d) and 2 (f g h i).
  void SetUp() override {
    Create();
    for (int i = 0; i < 9; i++) Insert(i + 1, std::string(1, 'a' + i));
  }
};

TEST_F(LMTIndexCheckerTest, SoundFile) {
  LMTIndexChecker checker(&index_);
  EXPECT_EQ(checker.Check(9), 0);
  EXPECT_EQ(checker.entries(), 9);
  EXPECT_EQ(checker.pages(), 3);
  EXPECT_EQ(checker.depth(), 2);
}

TEST_F(LMTIndexCheckerTest, EachDamageItsLine) {
  EXPECT_EQ(Problems(8), "page 2 entry 3: record 9 is not between 1 and 8\n");

  Patch(1024 * 2 + 12, "zz");  // f becomes zz, in front of g
  EXPECT_EQ(Problems(9), "page 2 entry 1: key 'g' sorts before the key 'zz' in front of it\n");
  Patch(1024 * 2 + 12, "f");

  Patch(1024 * 1 + 12 + 3 * 108, "x");  // d becomes x, behind the root's e
  EXPECT_EQ(Problems(9), "page 3 entry 0: key 'e' sorts before the key 'x' in front of it\n");
  Patch(1024 * 1 + 12 + 3 * 108, "d");

  Patch32(1024 * 2, 2);  // a leaf with two entries
  EXPECT_EQ(Problems(9), "page 2: 2 entries, fewer than 3\n");
  Patch32(1024 * 2, 4);

  Patch32(9, 5);
  EXPECT_EQ(Problems(9), "numpages is 5 but the file is 4096 bytes long\n");
  Patch32(9, 4);

  Patch32(1024 * 3 + 4 + 108, 1);
  EXPECT_EQ(Problems(9), "page 3 child 1 is page 1, which is reached twice\n");
  Patch32(1024 * 3 + 4 + 108, 9);
  EXPECT_EQ(Problems(9), "page 3 child 1 is page 9, outside 1 to 3\n");
  Patch32(1024 * 3 + 4 + 108, 2);

  Patch32(1024 * 2 + 4 + 4 * 108, 1);  // a leaf with a child
  EXPECT_EQ(Problems(9),
            "page 2: child 4 is 1 in a leaf\n"
            "page 2 child 4 is page 1, which is reached twice\n");
  Patch32(1024 * 2 + 4 + 4 * 108, 0);

  Patch32(1024 * 1, 10);
  EXPECT_EQ(
      Problems(9),
      "page 3 child 0: Error reading from 'x.snx': File is corrupt (the number of entries is larger than "
      "the maximum entries possible).\n");
  Patch32(1024 * 1, 4);
  EXPECT_EQ(Problems(9), "");
}

TEST_F(LMTIndexCheckerTest, LeavesAtTwoDepths) {
  // Graft page 1 as the root's left child under a new inner page 4.
  Patch32(1024 * 4, 0);
  Patch32(1024 * 4 + 4, 1);
  Patch(1024 * 5 - 1, std::string(1, '\0'));
  Patch32(9, 5);
  Patch32(1024 * 3 + 4, 4);
  EXPECT_EQ(Problems(9),
            "page 4: 0 entries, fewer than 3\n"
            "page 2: a leaf at depth 2, others are at 3\n");
}
