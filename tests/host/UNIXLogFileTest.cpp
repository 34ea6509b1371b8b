#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "core/LogEntry.h"
#include "host/UNIXLogFile.h"
#include "tests/host/TestHost.h"

namespace {

class UNIXLogFileTest : public ::testing::Test {
 protected:
  std::string Path() const { return host_.directory_ + "/event.log"; }
  std::vector<std::string> Lines(const char* name = "event.log") {
    std::ifstream in(host_.directory_ + "/" + name, std::ios::binary);
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
  }
  // The fields behind the time (fields 8 to 15).
  static std::string Tail(const std::string& line) {
    size_t at = 0;
    for (int i = 0; i < 7 && at != std::string::npos; i++) at = line.find('|', at + 1);
    return at == std::string::npos ? "" : line.substr(at + 1);
  }
  TestHost host_;
};

TEST_F(UNIXLogFileTest, LinesCarryTheRequestFromWhenItIsKnown) {
  {
    UNIXLogFile log(&host_, 2);
    ASSERT_EQ(log.Open(Path().c_str()), 1);
    log.SetRequest("bob", 12, 34, "/s/a|b.sn", "/d");
    log.Log(LogFileModeChanged("/d/f", 420));
    log.Log(LogFileError("/d/a", "/d/b", "fcopy", "copying", "No space"));
  }
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(Tail(lines[0]), "N/A|-1|-1|N/A|N/A|3.7600|2|filename=" + Path() + "&type=log");
  const std::string bob = "bob|12|34|/s/a|b.sn|/d|3.7600|2|";
  EXPECT_EQ(Tail(lines[1]), bob + "filename=/d/f&newmode=0644");
  EXPECT_EQ(Tail(lines[2]), bob + "filename=/d/a&destfilename=/d/b&type=fcopy&operation=copying&error=No space");
  EXPECT_EQ(Tail(lines[3]), bob + "filename=" + Path() + "&type=log");
  // Name, then the time in Greenwich time without leading zeros.
  const std::regex pattern(
      "FILE(OPENED|MODECHANGED|ERROR|CLOSED)\\|([1-9]|[12][0-9]|3[01])\\|([1-9]|1[0-2])\\|"
      "([0-9]|1[0-9]|2[0-3])\\|([0-9]|[1-5][0-9])\\|([0-9]|[1-5][0-9]|60)\\|2[0-9]{3}\\|.*");
  for (const std::string& line : lines) EXPECT_TRUE(std::regex_match(line, pattern)) << line;
  struct stat st;
  ASSERT_EQ(stat(Path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(UNIXLogFileTest, LevelsAboveTheThresholdAndAClosedLogWriteNothing) {
  UNIXLogFile log(&host_, 1);
  log.Log(LogScriptStarted("/s/x"));
  ASSERT_EQ(log.Open(Path().c_str()), 1);
  log.Log(LogFileDeleted("/d/x"));
  log.Log(LogScriptEnded("/s/x"));
  log.Log("OTHER", "a=1", 0);
  log.Close();
  log.Log(LogScriptStarted("/s/y"));
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].substr(0, 12), "SCRIPTENDED|");
  EXPECT_EQ(Tail(lines[0]), "N/A|-1|-1|N/A|N/A|3.7600|1|filename=/s/x");
  EXPECT_EQ(lines[1].substr(0, 6), "OTHER|");
}

TEST_F(UNIXLogFileTest, ReopeningClosesTheFirstFileAndBadFilesAreNoFailure) {
  UNIXLogFile log(&host_, 2);
  ASSERT_EQ(log.Open((host_.directory_ + "/first.log").c_str()), 1);
  ASSERT_EQ(log.Open(Path().c_str()), 1);
  ASSERT_EQ(Lines("first.log").size(), 2u);
  EXPECT_EQ(Lines("first.log")[1].substr(0, 11), "FILECLOSED|");
  // A file that cannot be opened or written is no failure.
  UNIXLogFile bad(&host_, 2);
  EXPECT_EQ(bad.Open((host_.directory_ + "/no/such.log").c_str()), 0);
  EXPECT_FALSE(bad.isopen());
  bad.Log(LogFileDeleted("/x"));
  if (access("/dev/full", W_OK) == 0) {
    ASSERT_EQ(bad.Open("/dev/full"), 1);
    bad.Log(LogFileDeleted("/x"));
    bad.Close();
  }
}

// Appending processes must never split each other's lines: each line goes
// out in one write to a file opened for appending.
TEST_F(UNIXLogFileTest, ConcurrentWritersKeepLinesWhole) {
  const int kWriters = 8, kEvents = 500;
  const std::string padding(900, 'p');
  std::vector<pid_t> children;
  for (int w = 0; w < kWriters; w++) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      {
        UNIXLogFile log(&host_, 2);
        if (log.Open(Path().c_str()) != 1) _exit(2);
        for (int i = 0; i < kEvents; i++)
          log.Log("EVENT", ("writer=" + std::to_string(w) + "&n=" + std::to_string(i) + "&" + padding).c_str(), 2);
      }
      _exit(0);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  // A whole line starts once and ends in the padding; each writer's whole
  // lines, in its own order, and no line more than the writers wrote.
  std::vector<std::string> lines = Lines();
  std::vector<int> next(kWriters, 0);
  for (const std::string& line : lines) {
    size_t at = line.find("|writer=");
    int w = -1, n = -1;
    if (line.compare(0, 6, "EVENT|") != 0 || at == std::string::npos ||
        sscanf(line.c_str() + at, "|writer=%d&n=%d&", &w, &n) != 2 || w < 0 || w >= kWriters ||
        line.size() < padding.size() || line.find("EVENT|", 1) != std::string::npos ||
        line.compare(line.size() - padding.size(), padding.size(), padding) != 0)
      continue;
    if (n == next[w]) next[w]++;
  }
  for (int w = 0; w < kWriters; w++) EXPECT_EQ(next[w], kEvents) << w;
  EXPECT_EQ((int)lines.size(), kWriters * (kEvents + 2));
}

}  // namespace
