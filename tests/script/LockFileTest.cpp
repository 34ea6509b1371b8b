#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "tests/host/LockHolder.h"
#include "tests/script/RunScript.h"

// Another process holds the byte lock on the lock file: SnLOCKFILE waits
// until it is released, runs the body, and removes the lock file.
TEST(LockFile, WaitsForALockHeldByAnotherProcess) {
  TestHost host;
  std::string lock = host.directory_ + "/counter.lck";
  LockHolder holder(lock, 0, 1, 700);
  ASSERT_TRUE(holder.held());
  auto start = std::chrono::steady_clock::now();
  std::string page = RunScript(host, "<SnLOCKFILE FILE=\"counter\">inside</SnLOCKFILE> after");
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(holder.Wait(), 0);
  EXPECT_EQ(page, "inside after");
  EXPECT_GE(waited, std::chrono::milliseconds(400));
  EXPECT_NE(access(lock.c_str(), F_OK), 0) << "the lock file is removed when the body ends";
}

TEST(LockFile, CreateErrorIsFatalByDefault) {
  std::string page = RunScript("a<SnLOCKFILE FILE=\"nosuchdir/x\">b</SnLOCKFILE>c");
  EXPECT_EQ(page.find("a"), 0u);
  EXPECT_NE(page.find("SnLOCKFILE: Runtime Error: Error creating 'nosuchdir/x.lck': No such file or directory"),
            std::string::npos);
  EXPECT_EQ(page.find("b"), std::string::npos);
}
