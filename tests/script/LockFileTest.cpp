#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "tests/script/RunScript.h"

// Another process holds the byte lock on the lock file: SnLOCKFILE waits
// until it is released, runs the body, and removes the lock file.
TEST(LockFile, WaitsForALockHeldByAnotherProcess) {
  TestHost host;
  std::string lock = host.directory_ + "/counter.lck";
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    int fd = open(lock.c_str(), O_RDWR | O_CREAT, 0600);
    struct flock hold = {};
    hold.l_type = F_WRLCK;
    hold.l_whence = SEEK_SET;
    hold.l_len = 1;
    if (fd < 0 || fcntl(fd, F_SETLKW, &hold) != 0) _exit(1);
    if (write(ready[1], "x", 1) != 1) _exit(1);
    usleep(700 * 1000);
    _exit(0);  // the lock goes with the process
  }
  char c;
  ASSERT_EQ(read(ready[0], &c, 1), 1);
  auto start = std::chrono::steady_clock::now();
  std::string page = RunScript(host, "<SnLOCKFILE FILE=\"counter\">inside</SnLOCKFILE> after");
  auto waited = std::chrono::steady_clock::now() - start;
  int status = 0;
  waitpid(child, &status, 0);
  close(ready[0]);
  close(ready[1]);
  EXPECT_EQ(page, "inside after");
  EXPECT_GE(waited, std::chrono::milliseconds(400));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_NE(access(lock.c_str(), F_OK), 0) << "the lock file is removed when the body ends";
}

TEST(LockFile, CreateErrorIsFatalByDefault) {
  std::string page = RunScript("a<SnLOCKFILE FILE=\"nosuchdir/x\">b</SnLOCKFILE>c");
  EXPECT_EQ(page.find("a"), 0u);
  EXPECT_NE(page.find("SnLOCKFILE: Runtime Error: Error creating 'nosuchdir/x.lck': No such file or directory"),
            std::string::npos);
  EXPECT_EQ(page.find("b"), std::string::npos);
}
