#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/ext/TarBuilder.h"
#include "tests/host/ConfiguredRequest.h"
#include "tests/script/BuiltinCall.h"

namespace {

// A request whose script root is outer/site and data directory outer/data,
// inside a fresh directory whose whole tree the tests can list. Archives lie
// in archives/, one package per test archive, all enabled.
class PackageExtractTest : public ConfiguredRequest {
 protected:
  void SetUp() override {
    for (const char* dir : {"outer", "outer/site", "outer/data", "archives"}) MakeDir(dir, 0755);
    Write("outer/site/t.sn", "");
  }

  // Declares one package per archive, code = archive name, then starts the
  // request with the extra configuration lines.
  void Start(const std::vector<std::string>& archives, const std::vector<std::string>& extra = {}) {
    std::vector<std::string> conf = {"packages="};
    for (size_t i = 0; i < archives.size(); i++) conf[0] += (i ? "," : "") + archives[i];
    for (const std::string& a : archives)
      conf.push_back("<PACKAGE CODE=\"" + a + "\" NAME=\"n\" DESCRIPTION=\"d\" VERSION=\"1\" PATH=\"" +
                     P("archives/" + a) + "\">");
    conf.insert(conf.end(), extra.begin(), extra.end());
    ConfiguredRequest::Start("outer/site", "outer/data", conf);
  }

  std::string Extract(const std::string& code, const std::string& directory) {
    return CallBuiltin(sorn_.get(), "sorn_package_extract", {code, directory, ""});
  }
  // Every name below the root, with its type, permission bits and, for
  // files, contents; links as their target.
  std::map<std::string, std::string> Tree() {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> listing;
    std::error_code error;
    for (fs::recursive_directory_iterator it(root_, error), end; !error && it != end; it.increment(error)) {
      const std::string path = it->path().string();
      struct stat st = {};
      lstat(path.c_str(), &st);
      char mode[16];
      snprintf(mode, sizeof mode, "%o", (unsigned)(st.st_mode & 07777));
      listing[path.substr(root_.size())] =
          (S_ISDIR(st.st_mode)   ? "dir "
           : S_ISLNK(st.st_mode) ? "link " + fs::read_symlink(it->path(), error).string() + " "
           : S_ISREG(st.st_mode) ? "file [" + Read(path) + "] "
                                 : std::string("other ")) +
          mode;
    }
    return listing;
  }
  // What the walk added to the site, relative to it.
  std::vector<std::string> Added(const std::map<std::string, std::string>& before) {
    std::vector<std::string> added;
    for (const auto& [name, what] : Tree())
      if (before.count(name) == 0 || before.at(name) != what) added.push_back(name + " " + what);
    return added;
  }
};

TEST_F(PackageExtractTest, EntriesThatLeadOutWriteNothingAnywhere) {
  // Each archive starts with the hostile entry and goes on with a harmless
  // one, which must not be unpacked either: a refusal ends the walk.
  // The result names the refused path, or is empty where nothing is refused.
  struct Case {
    const char* code;
    const char* directory;
    TarEntry entry;
    const char* refused;
  } cases[] = {
      {"up", "inst", {"../../escape", '0', "x"}, "inst/../../escape"},
      {"top", "", {"../escape", '0', "x"}, "/../escape"},
      {"deep", "inst", {"a/b/../../../../../escape", '0', "x"}, "inst/a/b/../../../../../escape"},
      {"dir", "inst", {"../../escdir/", '5', ""}, "inst/../../escdir/"},
      // The containment test is a prefix test; the script directory's own
      // trailing separator keeps a sibling with a longer name out.
      {"sibling", "inst", {"../../site2/x", '0', "x"}, "inst/../../site2/x"},
      {"data", "../data", {"x", '0', "x"}, "../data/x"},
      {"dots", "", {"..", '5', ""}, "/.."},
      // Damaged archives end quietly before anything is written.
      {"checksum", "inst", {"x", '0', "x"}, nullptr},
      {"negative", "inst", {"x", '0', "", "-0000002000"}, nullptr},
  };
  std::vector<std::string> codes;
  for (auto& c : cases) {
    std::string member = TarMember(c.entry);
    if (std::string(c.code) == "checksum") member[0] ^= 1;
    Write("archives/" + std::string(c.code), member + TarMember({"after", '0', "y"}) + TarEnd());
    codes.push_back(c.code);
  }
  Start(codes);
  const auto before = Tree();
  for (auto& c : cases)
    EXPECT_EQ(Extract(c.code, c.directory),
              c.refused ? "'" + std::string(c.refused) + "' is not contained in the configured script directory" : "")
        << c.code;
  EXPECT_EQ(Added(before), std::vector<std::string>{});
  EXPECT_EQ(access("/tmp/escape", F_OK), -1);
}

TEST_F(PackageExtractTest, AllowedAbsoluteNamesMustStillLieInTheScriptDirectory) {
  // With absolute script paths allowed, the name is taken as it stands.
  Write("archives/etc", TarMember({"/etc/sorn-escape", '0', "1"}) + TarEnd());
  Write("archives/inside", TarMember({P("outer/site/in"), '0', "2"}) + TarEnd());
  Start({"etc", "inside"}, {"securityoptions=32"});
  const auto before = Tree();
  EXPECT_EQ(Extract("etc", ""), "'/etc/sorn-escape' is not contained in the configured script directory");
  EXPECT_EQ(Extract("inside", ""), "");
  EXPECT_EQ(Added(before), std::vector<std::string>{"/outer/site/in file [2] 644"});
}

// Absolute names are taken below the target directory; links, devices and
// other entries are neither made nor followed.
TEST_F(PackageExtractTest, AbsoluteNamesLinksAndDevicesStayInside) {
  Write("archives/abs", TarMember({"/abs/x", '0', "1"}) + TarEnd());
  // A link first, then a file below its name: the file lands in a real
  // directory of that name, not where the link pointed.
  Write("archives/links", TarMember({"lnk", '2', "", "", "0000777", "../../data"}) +
                              TarMember({"hard", '1', "", "", "0000644", "/etc/passwd"}) +
                              TarMember({"chr", '3', ""}) + TarMember({"blk", '4', ""}) +
                              TarMember({"fifo", '6', ""}) + TarMember({"cont", '7', "c"}) +
                              TarMember({"././@LongLink", 'L', std::string(200, 'l')}) +
                              TarMember({"pax", 'x', "30 path=../../../pax-escape\n"}) +
                              TarMember({"lnk/x", '0', "in"}) + TarEnd());
  // A link already in the site is a gate to refuse.
  ASSERT_EQ(symlink("../data", P("outer/site/out").c_str()), 0);
  Write("archives/through", TarMember({"out/x", '0', "x"}) + TarEnd());
  Start({"abs", "links", "through"});
  const auto before = Tree();
  EXPECT_EQ(Extract("abs", "inst"), "");
  EXPECT_EQ(Extract("abs", ""), "");
  EXPECT_EQ(Extract("links", "inst"), "");
  EXPECT_EQ(Extract("through", ""), "'/out/x' references a symbolic link");
  EXPECT_EQ(Added(before), (std::vector<std::string>{
                               "/outer/site/abs dir 755",
                               "/outer/site/abs/x file [1] 644",
                               "/outer/site/inst dir 755",
                               "/outer/site/inst/abs dir 755",
                               "/outer/site/inst/abs/x file [1] 644",
                               "/outer/site/inst/lnk dir 755",
                               "/outer/site/inst/lnk/x file [in] 644",
                           }));
}

// Sizes beyond the file and cut archives write what is there; failures on
// the way end the walk with their message.
TEST_F(PackageExtractTest, CutArchivesAndFailuresOnTheWay) {
  // 8 GB claimed, ten bytes present.
  Write("archives/huge",
        TarMember({"one", '0', "1"}) + TarHeader({"huge", '0', "", "77777777777"}) + "0123456789");
  Write("archives/cut", TarMember({"one", '0', "1"}) + TarHeader({"two", '0', "2"}).substr(0, 100));
  // A file where a directory is needed, and a directory where a file goes.
  Write("archives/parent", TarMember({"f", '0', "file"}) + TarMember({"f/x", '0', "x"}) +
                               TarMember({"later", '0', "l"}) + TarEnd());
  Write("archives/isdir", TarMember({"d/", '5', "", "", "0000700"}) + TarMember({"d", '0', "x"}) + TarEnd());
  Write("archives/modes",
        TarMember({"d/", '5', "", "", "0000711"}) + TarMember({"d/f", '0', "new", "", "0100600"}) + TarEnd());
  Start({"huge", "cut", "parent", "isdir", "modes"});
  mkdir(P("outer/site/m").c_str(), 0700);
  mkdir(P("outer/site/m/d").c_str(), 0700);
  Write("outer/site/m/d/f", "old text, longer");
  const auto before = Tree();
  EXPECT_EQ(Extract("huge", "h"), "");
  EXPECT_EQ(Extract("cut", "c"), "");
  EXPECT_EQ(Extract("parent", "p"), "Error creating 'p/f/x': Not a directory");
  EXPECT_EQ(Extract("isdir", "i"), "Error creating 'i/d': Is a directory");
  // An existing directory takes the entry's mode, an existing file is
  // overwritten, and only the permission bits of a mode apply.
  EXPECT_EQ(Extract("modes", "m"), "");
  EXPECT_EQ(Added(before), (std::vector<std::string>{
                               "/outer/site/c dir 755",
                               "/outer/site/c/one file [1] 644",
                               "/outer/site/h dir 755",
                               "/outer/site/h/huge file [0123456789] 644",
                               "/outer/site/h/one file [1] 644",
                               "/outer/site/i dir 755",
                               "/outer/site/i/d dir 700",
                               "/outer/site/m/d dir 711",
                               "/outer/site/m/d/f file [new] 600",
                               "/outer/site/p dir 755",
                               "/outer/site/p/f file [file] 644",
                           }));
}

}  // namespace
