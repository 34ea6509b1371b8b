#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "core/Config.h"
#include "host/CGISorn.h"
#include "tests/host/ScratchDir.h"

namespace {

// The limits change the process for good, so each case runs in a child
// that reports the limits it ends with on a pipe.
class ProcessLimitsTest : public ::testing::Test, protected ScratchDir {
 protected:
  // Sets the soft limits of CPU, data and stack to soft (keeping each hard
  // limit unless it is lower), applies the configuration's limits, and
  // gives back "soft/hard" of each, "=" for an unchanged hard limit, and
  // the change of priority.
  std::string Apply(const std::string& conf, const rlim_t soft[3]) {
    Write("sorn.conf", "sornroot=" + root_ + "\n" + conf + "\n");
    int channel[2];
    if (pipe(channel) != 0) return "no pipe";
    pid_t child = fork();
    if (child == 0) {
      close(channel[0]);
      std::string program = P("sorn");
      char* argv[] = {&program[0], nullptr};
      CGISorn sorn(1, argv);
      if (!sorn.LoadConfiguration()) _exit(1);
      // Nothing is allocated while the soft limits are low: a sanitizer's
      // allocator would not get the memory it maps.
      const int resources[3] = {RLIMIT_CPU, RLIMIT_DATA, RLIMIT_STACK};
      struct rlimit before[3], after[3];
      for (int i = 0; i < 3; i++) {
        getrlimit(resources[i], &before[i]);
        struct rlimit l = before[i];
        if (soft[i] <= l.rlim_max) l.rlim_cur = soft[i];
        setrlimit(resources[i], &l);
      }
      const int priority = getpriority(PRIO_PROCESS, 0);
      sorn.ApplyProcessLimits();
      const int niced = getpriority(PRIO_PROCESS, 0) - priority;
      for (int i = 0; i < 3; i++) {
        getrlimit(resources[i], &after[i]);
        struct rlimit open = {before[i].rlim_cur, after[i].rlim_max};
        if (open.rlim_cur > open.rlim_max) open.rlim_cur = open.rlim_max;
        setrlimit(resources[i], &open);
      }
      std::string text;
      for (int i = 0; i < 3; i++)
        text += (i ? " " : "") + Number(after[i].rlim_cur) + "/" +
                (after[i].rlim_max == before[i].rlim_max ? "=" : Number(after[i].rlim_max));
      text += " nice+" + std::to_string(niced);
      ssize_t written = write(channel[1], text.data(), text.size());
      _exit(written == (ssize_t)text.size() ? 0 : 1);
    }
    close(channel[1]);
    std::string text;
    char block[256];
    for (ssize_t n; (n = read(channel[0], block, sizeof block)) > 0;) text.append(block, (size_t)n);
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return text;
  }
  static std::string Number(rlim_t value) {
    return value == RLIM_INFINITY ? "inf" : std::to_string((unsigned long long)value);
  }
};

const rlim_t kMiB = 1024 * 1024;

TEST_F(ProcessLimitsTest, HardLimitsTakeTheKeysOverLowerSoftLimitsOnly) {
  const rlim_t soft[3] = {50, 512 * kMiB, 8 * kMiB};
  EXPECT_EQ(
      Apply("maxcpu=100\nmaxdata=" + std::to_string(1024 * kMiB) + "\nmaxstack=" + std::to_string(16 * kMiB),
            soft),
      "50/100 " + std::to_string(512 * kMiB) + "/" + std::to_string(1024 * kMiB) + " " +
          std::to_string(8 * kMiB) + "/" + std::to_string(16 * kMiB) + " nice+0");
  // A key equal to the soft limit is a limit too.
  EXPECT_EQ(Apply("maxcpu=50\nnice=3", soft),
            "50/50 " + std::to_string(512 * kMiB) + "/= " + std::to_string(8 * kMiB) + "/= nice+3");
  // A hard limit below the soft limit is refused and ignored.
  const rlim_t unlimited[3] = {RLIM_INFINITY, 512 * kMiB, 8 * kMiB};
  EXPECT_EQ(Apply("maxcpu=1\nmaxdata=1024\nmaxstack=0", unlimited),
            "inf/= " + std::to_string(512 * kMiB) + "/= " + std::to_string(8 * kMiB) + "/= nice+0");
}

}  // namespace
