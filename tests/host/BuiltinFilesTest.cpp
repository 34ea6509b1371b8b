#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/host/ConfiguredRequest.h"
#include "tests/script/BuiltinCall.h"

namespace {

// The file built-ins on a configured request: site/ is the script root,
// data/ the data directory, and every event goes to log.
class BuiltinFilesTest : public ConfiguredRequest {
 protected:
  void SetUp() override {
    MakeDir("site");
    MakeDir("data");
    Write("site/t.sn", "");
    Start({});
  }
  void Start(const std::vector<std::string>& extra) {
    std::vector<std::string> conf = {"loglevel=2", "logfile=" + P("log")};
    conf.insert(conf.end(), extra.begin(), extra.end());
    ConfiguredRequest::Start("site", "data", conf);
  }
  std::string Call(const char* name, const std::vector<std::string>& args) {
    return CallBuiltin(sorn_.get(), name, args);
  }
  struct Expected {
    const char* name;
    std::vector<std::string> args;
    const char* result;
  };
  void CallAll(const std::vector<Expected>& calls) {
    for (const Expected& c : calls) EXPECT_EQ(Call(c.name, c.args), c.result) << c.name << " " << c.args[0];
  }
  // Event name and details of each line after the log's own opening.
  std::vector<std::string> Events() {
    std::vector<std::string> events;
    std::istringstream lines(Read("log"));
    std::string line;
    while (std::getline(lines, line)) {
      size_t bar = line.find('|');
      size_t details = 0;
      for (int i = 0; i < 14 && details != std::string::npos; i++) details = line.find('|', details + 1);
      if (line.find("type=log") != std::string::npos || details == std::string::npos) continue;
      events.push_back(line.substr(0, bar) + " " + line.substr(details + 1));
    }
    return events;
  }
};

TEST_F(BuiltinFilesTest, PathsRefusedByTheGateTouchAndLogNothingMissingFilesAreLogged) {
  Write("outside", "x");
  Write("data/a", "x");
  CallAll({{"fexists", {"../outside"}, "0"}, {"fsize", {"../outside"}, "-1"}, {"fmode", {"../outside"}, "-1"},
           {"fdelete", {"../outside"}, "0"}, {"fchmod", {"../outside", "0777"}, "0"},
           {"fcopy", {"a", "../copy"}, "0"}, {"frename", {"../outside", "b"}, "0"},
           {"fsymlink", {"a", "../../link"}, "0"}, {"smkdir", {"../newdir"}, "0"},
           {"sfcopy", {"../outside", "c"}, "0"}, {"fscopy", {"a", "../data/c"}, "0"},
           {"ssize", {"../../etc/passwd"}, "-1"}, {"fexists", {"/../../outside"}, "0"}});
  EXPECT_TRUE(Events().empty());  // refusals are not logged
  EXPECT_EQ(Read("outside"), "x");
  EXPECT_EQ(access(P("copy").c_str(), F_OK), -1);
  EXPECT_EQ(access(P("newdir").c_str(), F_OK), -1);
  // Inside again after the walk, and absolute names stay in the directory.
  EXPECT_EQ(Call("fexists", {"sub/../a"}), "1");
  EXPECT_EQ(Call("fexists", {"/a"}), "1");
  // Missing files and directories are logged.
  CallAll({{"fexists", {"nosuch"}, "0"}, {"fsize", {"nosuch"}, "-1"}, {"fmode", {"nosuch"}, "-1"},
           {"fchmod", {"nosuch", "0600"}, "0"}, {"fdelete", {"nosuch"}, "0"}, {"frename", {"nosuch", "b"}, "0"},
           {"fcopy", {"nosuch", "b"}, "0"}, {"fmkdir", {"no/such"}, "0"}, {"fexists", {"b"}, "0"}});
  const std::string nosuch = "FILEERROR filename=" + P("data/nosuch");
  const std::string no = "&error=No such file or directory";
  std::vector<std::string> expected = {
      nosuch + "&type=fchmod&operation=modeing" + no, nosuch + "&type=fdelete&operation=deleting" + no,
      nosuch + "&destfilename=" + P("data/b") + "&type=frename&operation=renaming" + no,
      nosuch + "&type=fcopy&operation=opening" + no,
      "FILEERROR filename=" + P("data/no/such") + "&type=fmkdir&operation=creating" + no};
  EXPECT_EQ(Events(), expected);
}

TEST_F(BuiltinFilesTest, CopyMovesEveryBlockAndLogsEachSide) {
  std::string big;
  for (int i = 0; i < 20000; i++) big += (char)('a' + i % 26);
  Write("data/big", big);
  EXPECT_EQ(Call("fcopy", {"big", "copy"}), "1");
  EXPECT_EQ(Read("data/copy"), big);
  EXPECT_EQ(Call("fmode", {"copy"}), "0600");
  Write("data/copy", big + big);
  EXPECT_EQ(Call("fcopy", {"big", "copy"}), "1");
  EXPECT_EQ(Call("fsize", {"copy"}), "20000");
  // A directory opens for reading but cannot be read; nor written.
  MakeDir("data/dir");
  EXPECT_EQ(Call("fcopy", {"big", "dir"}), "0");
  EXPECT_EQ(Call("fcopy", {"dir", "other"}), "0");
  EXPECT_EQ(Call("fscopy", {"big", "big.txt"}), "1");
  EXPECT_EQ(Read("site/big.txt"), big);
  const std::string copied = "FILECOPIED filename=" + P("data/big") + "&newfilename=";
  const std::string dir = "FILEERROR filename=" + P("data/dir"), isdir = "&error=Is a directory";
  EXPECT_EQ(Events(), std::vector<std::string>({copied + P("data/copy"), copied + P("data/copy"),
                                                dir + "&type=fcopy&operation=creating" + isdir,
                                                dir + "&destfilename=" + P("data/other") +
                                                    "&type=fcopy&operation=copying" + isdir,
                                                copied + P("site/big.txt")}));
}

// Directories, modes in any base, and the script-directory forms, with the
// log line each kind of change writes.
TEST_F(BuiltinFilesTest, DirectoriesModesAndScriptForms) {
  Write("data/a", "x");
  Write("site/p", "page");
  CallAll({{"fmkdir", {"d/"}, "1"}, {"fmode", {"d"}, "0700"}});
  Write("data/d/f", "x");
  CallAll({{"fdelete", {"d"}, "0"}, {"frename", {"d/f", "g"}, "1"}, {"fdelete", {"d"}, "1"},
           {"fdelete", {"g"}, "1"},
           {"fchmod", {"a", "0x1c0"}, "1"}, {"fmode", {"a"}, "0700"}, {"fchmod", {"a", "644"}, "1"},
           {"fmode", {"a"}, "0204"}, {"fchmod", {"a", "junk"}, "1"}, {"fmode", {"a"}, "0000"},
           {"ssize", {"p"}, "4"}, {"smkdir", {"dir"}, "1"}, {"scopy", {"p", "dir/q"}, "1"},
           {"sfrename", {"dir/q", "moved"}, "1"}});
  EXPECT_EQ(Read("data/moved"), "page");
  CallAll({{"fsrename", {"moved", "back"}, "1"}, {"sdelete", {"dir"}, "1"}, {"smkdir", {"back"}, "0"}});
  std::vector<std::string> events = Events();
  ASSERT_GE(events.size(), 9u);
  EXPECT_EQ(events[0], "DIRECTORYCREATED directory=" + P("data/d/"));
  EXPECT_EQ(events[1].substr(0, 10), "FILEERROR ");
  EXPECT_EQ(events[2], "FILERENAMED oldfilename=" + P("data/d/f") + "&newfilename=" + P("data/g"));
  EXPECT_EQ(events[3], "DIRECTORYDELETED directory=" + P("data/d"));
  EXPECT_EQ(events[4], "FILEDELETED filename=" + P("data/g"));
  EXPECT_EQ(events[6], "FILEMODECHANGED filename=" + P("data/a") + "&newmode=01204");
  EXPECT_EQ(events.back(), "FILEERROR filename=" + P("site/back") + "&type=fmkdir&operation=creating&error=File exists");
}

TEST_F(BuiltinFilesTest, SymbolicLinksAreMadeButNotFollowed) {
  Write("data/a", "abc");
  EXPECT_EQ(Call("fsymlink", {"a", "ln"}), "1");
  char target[256] = {};
  ASSERT_GT(readlink(P("data/ln").c_str(), target, sizeof target - 1), 0);
  EXPECT_EQ(std::string(target), P("data/a"));
  EXPECT_EQ(Call("fexists", {"ln"}), "0");
  // The link itself is now refused by the gate, unlogged; a taken name
  // that is no link fails in the system call.
  EXPECT_EQ(Call("fsymlink", {"a", "ln"}), "0");
  Write("data/b", "");
  EXPECT_EQ(Call("fsymlink", {"a", "b"}), "0");
  EXPECT_EQ(Events(), std::vector<std::string>({"FILEERROR filename=" + P("data/a") + "&destfilename=" +
                                                P("data/b") + "&type=fsymlink&operation=symlinking&error=File exists"}));
  // With links allowed on data paths the same name passes.
  Start({"securityoptions=4"});
  EXPECT_EQ(Call("fsize", {"ln"}), "3");
}

}  // namespace
