// Several processes on one table: the record locks make a reader wait for
// a writer, and the header lock serialises appenders.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "tests/data/TableFixture.h"
#include "tests/host/LockHolder.h"

namespace {

class XBaseTableLockTest : public TableFixture {};

TEST_F(XBaseTableLockTest, GotoWaitsForAWriterOfTheRecord) {
  {
    std::unique_ptr<XBaseTable> t = Create("w.dbf", {{"NAME", XBaseCHAR, 8, 0}});
    Add(t.get(), {{"NAME", "one"}});
    Add(t.get(), {{"NAME", "two"}});
  }
  std::unique_ptr<XBaseTable> t = Open("w.dbf");
  // Another process holds record 2 (offset 65 + 9, 9 bytes) for writing.
  LockHolder writer(P("w.dbf"), 65 + 9, 9, 400);
  ASSERT_TRUE(writer.held());
  // Record 1 is free at once; record 2 only when the writer lets go.
  auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(t->Goto(1), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  ASSERT_EQ(t->Goto(2), 1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_EQ(Data(t.get(), "NAME"), "two");
}

TEST_F(XBaseTableLockTest, ConcurrentAppendersLoseNoRecord) {
  Create("a.dbf", {{"NAME", XBaseCHAR, 8, 0}, {"N", XBaseNUMBER, 4, 0}});
  const int kProcesses = 3, kRecords = 150;
  pid_t children[kProcesses];
  for (int p = 0; p < kProcesses; p++) {
    children[p] = fork();
    ASSERT_GE(children[p], 0);
    if (children[p] == 0) {
      XBaseTable table(&sorn_);
      if (!table.Open(String(P("a.dbf").c_str()), "a.dbf", 3)) _exit(2);
      for (int i = 0; i < kRecords; i++) {
        std::string name = "p" + std::to_string(p);
        table.Field("NAME")->Set(name.c_str(), -1);
        table.Field("N")->Set(std::to_string(i).c_str(), -1);
        if (!table.Append()) _exit(3);
      }
      _exit(0);
    }
  }
  for (pid_t child : children) {
    int status;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::unique_ptr<XBaseTable> t = Open("a.dbf");
  ASSERT_EQ(t->recordcount(), (unsigned long)(kProcesses * kRecords));
  EXPECT_EQ(Read("a.dbf").size(), 97u + 13u * kProcesses * kRecords + 1u);
  // Each process's records are all there, in its own order.
  int next[kProcesses] = {};
  for (long r = 1; r <= kProcesses * kRecords; r++) {
    ASSERT_EQ(t->Goto(r), 1);
    int p = Data(t.get(), "NAME")[1] - '0';
    ASSERT_TRUE(p >= 0 && p < kProcesses);
    EXPECT_EQ(Data(t.get(), "N"), std::to_string(next[p]++));
  }
}

}  // namespace
