#include <sys/wait.h>

#include <chrono>
#include <map>
#include <random>

#include "tests/data/IndexFixture.h"
#include "tests/host/LockHolder.h"

class LMTIndexRandomTest : public IndexFixture {};

// A hundred thousand inserts and deletes with a few equal keys to each key
// and some over-long ones, against a multimap that keeps equal keys newest first;
// the checker runs every thousand steps, and at the end both walks must
// give exactly the model's order.
TEST_F(LMTIndexRandomTest, AgreesWithAModel) {
  std::mt19937 random(20261124);
  std::multimap<std::string, long> model;
  std::vector<std::pair<std::string, long>> entries;  // for picking one at random
  Create();
  long nextrecord = 1;
  auto makekey = [&]() {
    std::string key = "k" + std::to_string(random() % 1500);
    if (random() % 50 == 0) key += std::string(120, 'a' + random() % 3);
    return key;
  };
  for (int step = 1; step <= 100000; step++) {
    // The tree grows to some four thousand entries (three levels, merges
    // and splits all the time) and then hovers there.
    if (entries.empty() || random() % 10 < (entries.size() < 4000 ? 6 : 4)) {
      std::string key = makekey();
      long record = nextrecord++;
      ASSERT_EQ(index_.Insert(record, key.c_str()), 1) << index_.error().chars();
      key = key.substr(0, 99);
      model.insert(model.lower_bound(key), {key, record});
      entries.push_back({key, record});
    } else {
      size_t pick = random() % entries.size();
      auto [key, record] = entries[pick];
      entries[pick] = entries.back();
      entries.pop_back();
      ASSERT_EQ(index_.Delete(record, key.c_str()), 1) << step << " " << index_.error().chars();
      auto range = model.equal_range(key);
      for (auto it = range.first; it != range.second; ++it)
        if (it->second == record) {
          model.erase(it);
          break;
        }
    }
    if (step % 1000 == 0) {
      ASSERT_EQ(Problems(nextrecord - 1), "") << "after step " << step;
      std::string key = makekey().substr(0, 99);
      long recno = 0;
      ASSERT_EQ(index_._Find(key.c_str(), 1, &recno, 1), 1);
      auto first = model.find(key);
      EXPECT_EQ(recno, first == model.end() ? 0 : first->second) << key;
      EXPECT_EQ(index_.Delete(nextrecord, key.c_str()), 0) << "an absent record";
    }
  }
  EXPECT_EQ(index_.updatecount(), 100000);
  std::vector<long> expected;
  for (auto& entry : model) expected.push_back(entry.second);
  EXPECT_EQ(Forward(), expected);
  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(Backward(), expected);
}

// Processes that insert into one file at the same time take turns through
// the header lock: nothing is lost and the tree stays sound.
TEST_F(LMTIndexRandomTest, ConcurrentWritersTakeTurns) {
  Create();
  const int kWriters = 3, kKeys = 300;
  pid_t children[kWriters];
  for (int w = 0; w < kWriters; w++) {
    children[w] = fork();
    ASSERT_GE(children[w], 0);
    if (children[w] == 0) {
      LMTIndexFile index(&host_);
      int ok = index.Open(Path().c_str(), "x.snx", FileRead | FileWrite);
      for (int i = 0; ok && i < kKeys; i++) {
        std::string key = "w" + std::to_string(i % 50) + "-" + std::to_string(w);
        ok = index.Insert(1 + w * kKeys + i, key.c_str());
        long recno = 0;
        ok = ok && index._First(&recno, 1) && recno != 0;
      }
      _exit(ok ? 0 : 1);  // no destructors: the directory belongs to the parent
    }
  }
  for (pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  LMTIndexChecker checker(&index_);
  EXPECT_EQ(checker.Check(kWriters * kKeys), 0);
  EXPECT_EQ(checker.entries(), kWriters * kKeys);
  EXPECT_EQ(index_.updatecount(), kWriters * kKeys);
}

// A cursor operation waits while another process holds the write lock.
TEST_F(LMTIndexRandomTest, ReadersWaitForAWriter) {
  Create();
  Insert(1, "a");
  LockHolder writer(Path(), 0, LMTIndexFile::kHeaderSize, 500);
  ASSERT_TRUE(writer.held());
  auto start = std::chrono::steady_clock::now();
  long recno = 0;
  EXPECT_EQ(index_._Find("a", 1, &recno, 1), 1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_EQ(recno, 1);
  // Without the lock the same find does not wait for anyone.
  start = std::chrono::steady_clock::now();
  EXPECT_EQ(index_._Find("a", 1, &recno, 0), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
}
