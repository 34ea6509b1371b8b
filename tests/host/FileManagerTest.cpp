#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "core/File.h"
#include "host/UNIXFileManager.h"
#include "tests/host/ScratchDir.h"

namespace {

class FileManagerTest : public ::testing::Test, protected ScratchDir {
 protected:
  void Link(const std::string& target, const std::string& rel) { symlink(target.c_str(), P(rel).c_str()); }
  // The result, and the path as the walk left it behind a '|'.
  std::string Follow(const std::string& path, int links, int owner) {
    String p(path.c_str());
    int result = files_.FollowPath(p, links, owner);
    return std::to_string(result) + "|" + p.chars();
  }

  UNIXFileManager files_{nullptr};
};

TEST_F(FileManagerTest, FollowPathCollapsesDotsByText) {
  EXPECT_EQ(Follow("/a/./b/../c", 0, 0), "0|/a/c");
  EXPECT_EQ(Follow("/a/b/", 0, 0), "0|/a/b/");
  EXPECT_EQ(Follow("/../../x", 0, 0), "0|/x");
  // The system reads "/d/x//../../etc" as "/etc"; an empty component must
  // not absorb one of the '..'.
  EXPECT_EQ(Follow("/d/x//../../etc", 0, 0), "0|/etc");
}

TEST_F(FileManagerTest, FollowPathTestsLinksWithoutReplacingThem) {
  mkdir(P("real").c_str(), 0700);
  mkdir(P("sub").c_str(), 0700);
  Link(P("real"), "link");
  Link("../real", "sub/up");
  EXPECT_EQ(Follow(P("link/f"), 0, 0), "1|" + P("link/f"));
  EXPECT_EQ(Follow(P("link/../real"), 0, 0), "1|" + P("link/../real"));
  EXPECT_EQ(Follow(P("./link/f"), 1, 0), "0|" + P("link/f"));
  EXPECT_EQ(Follow(P("sub/up/f"), 1, 0), "0|" + P("sub/up/f"));

  Link(P("nosuch"), "dangling");
  EXPECT_EQ(Follow(P("dangling"), 1, 0), "3|" + P("dangling"));
  EXPECT_EQ(Follow(P("dangling"), 1, 1), "0|" + P("dangling"));
  // The end of a chain counts, and a loop ends the walk.
  Link(P("dangling"), "chain");
  EXPECT_EQ(Follow(P("chain"), 1, 0), "3|" + P("chain"));
  Link(P("loop2"), "loop1");
  Link(P("loop1"), "loop2");
  EXPECT_EQ(Follow(P("loop1"), 1, 1), "3|" + P("loop1"));

  if (geteuid() != 0) GTEST_SKIP() << "changing owners needs root";
  ASSERT_EQ(lchown(P("link").c_str(), 1, (gid_t)-1), 0);
  EXPECT_EQ(Follow(P("link"), 1, 0), "2|" + P("link"));
  EXPECT_EQ(Follow(P("link"), 1, 1), "0|" + P("link"));
  EXPECT_EQ(files_.GetOwnerUID(P("link").c_str()), 1);
}

TEST_F(FileManagerTest, CopyTemporaryAndRename) {
  std::string big(20000, 'a');
  big[8191] = 'b';
  Write("from", big);
  Write("to", std::string(30000, 'z'));
  EXPECT_EQ(files_.Copy(P("from").c_str(), P("to").c_str()), 0);
  EXPECT_EQ(Read("to"), big);
  Write("to", "keep");
  EXPECT_EQ(files_.Copy(P("nosuch").c_str(), P("to").c_str()), -1);
  EXPECT_STREQ(files_.error().chars(), "No such file or directory");
  EXPECT_EQ(Read("to"), "keep");

  // MakeTemporary counts up in hexadecimal past taken names.
  Write("Y00000001", "taken");
  String prefix = P("Y").c_str(), name = "y";
  std::unique_ptr<File> file(files_.MakeTemporary(prefix, name, FileWrite));
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(prefix.chars(), P("Y00000002"));
  EXPECT_STREQ(name.chars(), "y00000002");
  EXPECT_EQ(file->Write("data", 4), 4);
  EXPECT_EQ(Read("Y00000001"), "taken");

  prefix = P("nosuch/Z").c_str();
  EXPECT_EQ(files_.MakeTemporary(prefix, name, FileWrite), nullptr);
  EXPECT_STREQ(files_.error().chars(), "No such file or directory");

  EXPECT_LT(files_.Rename(P("nosuch").c_str(), P("x").c_str()), 0);
  struct stat here, shm;
  if (stat(root_.c_str(), &here) != 0 || stat("/dev/shm", &shm) != 0 || here.st_dev == shm.st_dev)
    GTEST_SKIP() << "no second file system at hand";
  std::string other = "/dev/shm/sorn-fm-" + std::to_string(getpid());
  EXPECT_EQ(files_.Rename(P("from").c_str(), other.c_str()), 0);
  EXPECT_EQ(Read(other), big);
  EXPECT_EQ(files_.Exists(P("from").c_str()), 0);
  unlink(other.c_str());
}

TEST(FileManagerNames, StripLooksOnlyAtTheLastComponent) {
  UNIXFileManager files(nullptr);
  const char* rows[][3] = {
      {"name.tar.gz", "name.tar", "name.tar.gz"}, {"dir.d/name", "dir.d/name", "name"},
      {".profile", "", ".profile"},               {"/x/.p", "/x/", ".p"},
      {"/x/y/", "/x/y/", ""},                     {"", "", ""},
  };
  for (const auto& row : rows) {
    EXPECT_STREQ(files.StripExtension(row[0]).chars(), row[1]) << row[0];
    EXPECT_STREQ(files.StripDirectory(row[0]).chars(), row[2]) << row[0];
  }
}

}  // namespace
