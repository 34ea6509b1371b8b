#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "host/UNIXConfig.h"
#include "tests/host/TestHost.h"

namespace {

// The authorization file read for one user of the password file, with the
// directory that authuserdir would have given as the starting grant.
class AuthFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    struct passwd* pw = getpwnam("daemon");
    ASSERT_NE(pw, nullptr) << "the tests use the standard account daemon";
    uid_ = (int)pw->pw_uid;
    gid_ = (int)pw->pw_gid;
    home_ = pw->pw_dir;
    file_ = host_.directory_ + "/users.auth";
    host_.config_.authfile = file_.c_str();
  }
  // The page's text after the decision; directory_ holds the result.
  std::string Read(const std::string& text, const char* start = "/granted/", int uid = -2, int gid = -2,
                   const char* user = "daemon") {
    Write(file_, text);
    directory_ = start;
    result_ = host_.config_.ReadAuthFile(uid == -2 ? uid_ : uid, gid == -2 ? gid_ : gid, user, home_.c_str(),
                                         directory_);
    return host_.text();
  }
  std::string dir() const { return directory_.chars(); }
  static void Write(const std::string& path, const std::string& text) {
    FILE* f = fopen(path.c_str(), "w");
    fputs(text.c_str(), f);
    fclose(f);
  }

  TestHost host_;
  int uid_ = -1, gid_ = -1, result_ = -1;
  std::string home_, file_;
  String directory_;
};

TEST_F(AuthFileTest, FirstLineNamingTheUserDecidesAndBlocksSetTheDefault) {
  const std::pair<const char*, std::string> cases[] = {
      {"# users\n\nno-such-login-x=/x\nbin=/bin-data\n  daemon = /d1   # first\ndaemon=/d2\n", "/d1/"},
      {"bin=/b\nno-such-login-x\n", "/granted/"},  // nobody named: the starting grant stands
      // A deny withdraws even the starting grant, and nothing behind it counts.
      {"-daemon\ndaemon=/d2\n", ""},
      {"<AUTH ACCESS=\"deny\">\ndaemon=/d\n</AUTH>\n", ""},
      {"<AUTH ACCESS=deny TYPE=login>\n+daemon=data\n</AUTH>\n", home_ + "/data/"},
      {"<AUTH ACCESS=deny>\nbin\n</AUTH>\ndaemon\n", home_ + "/"},  // the end of a block restores allow
      // No directory means the home directory; a '#' cuts the line even
      // behind a backslash.
      {"+ daemon = &[LoginID]/&[HOMEDIR]/&[groupid]&[nosuch]/x\\#y\n", home_ + "/daemon/" + home_ + "/daemon/x\\/"},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    Read(text);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(dir(), expected);
  }
}

TEST_F(AuthFileTest, RefusalsAndFailures) {
  EXPECT_EQ(Read("root=/r\n", "", 0, 0, "root"),
            "Configuration Error: root may not be authorized to run Loomtext<BR>\n"
            "Please contact the server administrator: webmaster@localhost\r\n");
  EXPECT_EQ(result_, 1);
  // A denial for root is no error.
  Read("-root\n", "/r/", 0, 0, "root");
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(dir(), "");

  const char group[] = "Group mode authorization is not supported in this version of Sorn";
  EXPECT_NE(Read("<AUTH TYPE=group>\n", "", uid_, -1).find(group), std::string::npos);
  EXPECT_EQ(result_, 1);

  unlink(file_.c_str());
  directory_ = "/kept/";
  EXPECT_EQ(host_.config_.ReadAuthFile(uid_, gid_, "daemon", home_.c_str(), directory_), 1);
  EXPECT_NE(host_.text().find("Configuration Error: Error opening authfile<BR>"), std::string::npos);
}

// Group mode sets the process's groups to the user's: it runs in a child.
TEST_F(AuthFileTest, GroupModeMatchesTheUsersGroups) {
  if (geteuid() != 0) GTEST_SKIP() << "initgroups needs root";
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    Read("<AUTH TYPE=group>\nroot=/no\ndaemon=/by-group/&[groupid]\n</AUTH>\n");
    int first = dir() == "/by-group/daemon/";
    // After the block, lines name logins again.
    Read("<AUTH TYPE=group>\n</AUTH>\nroot=/no\n");
    _exit(first && dir() == "/granted/" ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

// With workdir set the first decision for a user is kept in a table, and
// from then on the table answers without the file being read.
TEST_F(AuthFileTest, DecisionsAreKeptInTheWorkdirTable) {
  host_.config_.workdir = host_.directory_.c_str();
  Read("daemon=/first\n");
  EXPECT_EQ(result_, 0);
  EXPECT_EQ(dir(), "/first/");
  std::string table;
  for (const std::string& name : host_.Files())
    if (name.size() > 8 && name.compare(name.size() - 8, 8, "auth.dbf") == 0) table = name;
  ASSERT_FALSE(table.empty()) << "no authorization table in workdir";

  Read("daemon=/second\n", "/granted/");
  EXPECT_EQ(dir(), "/first/");
  // A denial is kept as well, and takes even the starting grant away.
  struct passwd* bin = getpwnam("bin");
  ASSERT_NE(bin, nullptr);
  for (const char* text : {"-bin\n", "bin=/b\n"}) {
    Read(text, "/granted/", (int)bin->pw_uid, (int)bin->pw_gid, "bin");
    EXPECT_EQ(dir(), "") << text;
  }
  // A user no line names leaves no row: the next read asks the file again
  // and finds nobody else's. (The ids are copied: getpwnam reuses its record.)
  struct passwd* sys = getpwnam("sys");
  ASSERT_NE(sys, nullptr);
  const int sysuid = (int)sys->pw_uid, sysgid = (int)sys->pw_gid;
  Read("daemon=/x\n", "/granted/", sysuid, sysgid, "sys");
  EXPECT_EQ(dir(), "/granted/");
  Read("sys=/s\n", "/granted/", sysuid, sysgid, "sys");
  EXPECT_EQ(dir(), "/s/");
  // A table that is not one is a configuration error, not a guess.
  Write(host_.directory_ + "/" + table, "not a table");
  std::string page = Read("daemon=/third\n");
  EXPECT_EQ(result_, 1);
  EXPECT_NE(page.find("Configuration Error"), std::string::npos) << page;
}

}  // namespace
