#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "ext/Tar.h"
#include "tests/ext/TarBuilder.h"
#include "tests/host/ScratchDir.h"
#include "tests/host/TestHost.h"

namespace {

class TarTest : public ::testing::Test, protected ScratchDir {
 protected:
  void Shell(const std::string& command) {
    // A configured request of an earlier test leaves PATH as its path key.
    ASSERT_EQ(system(("PATH=/usr/bin:/bin; cd " + root_ + " && " + command).c_str()), 0) << command;
  }
  // One line per entry: index, type, name, size, mode and link target.
  std::vector<std::string> Walk(Tar& tar, bool zeroblocks = false) {
    std::vector<std::string> lines;
    // The cap keeps a walk that goes round in circles from hanging the test.
    for (tar.First(); tar.Current() != 0 && lines.size() < 1000; tar.Next()) {
      if (tar.type() == TarZeroBlock && !zeroblocks) continue;
      char mode[16];
      snprintf(mode, sizeof mode, "%lo", tar.mode());
      lines.push_back(std::to_string(tar.Current()) + " " + std::to_string(tar.type()) + " " + tar.name() +
                      " " + std::to_string(tar.size()) + " " + mode +
                      (tar.linkname()[0] ? std::string(" ") : "") + tar.linkname());
    }
    return lines;
  }
  int Open(Tar& tar, const std::string& rel) { return tar.Open(P(rel).c_str(), rel.c_str()); }

  TestHost host_;
};

TEST_F(TarTest, ReadsWhatGnuTarWrites) {
  // A name of exactly 100 bytes fills the field with no terminator.
  const std::string longname(100, 'n');
  Shell("mkdir -p src/d && head -c 1300 /dev/urandom > src/d/big && printf x > src/" + longname +
        " && ln -s d/big src/soft && ln src/d/big src/hard && mkfifo src/pipe && chmod 750 src/d && "
        "chmod 604 src/d/big && chmod 644 src/pipe src/" +
        longname + " && tar --format=ustar --no-recursion -C src -cf a.tar d d/big soft hard pipe " +
        longname);
  Tar tar(&host_);
  ASSERT_EQ(Open(tar, "a.tar"), 1) << tar.error().chars();
  std::vector<std::string> expected = {
      "1 3 d/ 0 750",         "2 0 d/big 1300 604", "3 2 soft 0 777 d/big",
      "4 1 hard 0 604 d/big", "5 4 pipe 0 644",     "6 0 " + longname + " 1 644",
  };
  EXPECT_EQ(Walk(tar), expected);
  EXPECT_EQ(tar.error(), "");
  // GNU tar pads to a record of 10240 bytes: each of the ten blocks after
  // the headers and data is an entry of its own, up to the end of the file.
  auto all = Walk(tar, true);
  ASSERT_EQ(all.size(), 16u);
  EXPECT_EQ(all[6], "7 5  0 0");
  EXPECT_EQ(all[15], "16 5  0 0");
  EXPECT_EQ(tar.Current(), 0);

  // The data of one entry, across three blocks, and of the last.
  tar.First();
  tar.Next();
  ASSERT_EQ(tar.Write(P("big.out").c_str(), "big.out"), 1);
  EXPECT_EQ(Read("big.out"), Read("src/d/big"));
  while (tar.Current() != 0 && strcmp(tar.name(), longname.c_str()) != 0) tar.Next();
  ASSERT_EQ(tar.Write(P("last.out").c_str(), "last.out"), 1);
  EXPECT_EQ(Read("last.out"), "x");
}

TEST_F(TarTest, DamagedHeadersEndTheWalkAndZeroBlocksDoNot) {
  // A changed byte in the second header.
  Shell(
      "printf A > a && printf B > b && tar --format=ustar -cf a.tar a b && "
      "printf X | dd of=a.tar bs=1 seek=1030 conv=notrunc 2>/dev/null");
  TarEntry high("caf\xe9", '0', "x"), back("back", '0', "", "-0000002000");
  const struct {
    const char* name;
    std::string bytes;
    std::vector<std::string> walk;
    const char* error;
  } cases[] = {
      {"a.tar", "", {"1 0 a 1 644"}, "Error reading from 'a.tar': Header checksum mismatch"},
      // A byte above 127 makes the signed sum of old archivers differ.
      {"signed.tar", TarMember(high, true) + TarEnd(), {}, "Error reading from 'signed.tar': Header checksum mismatch"},
      {"unsigned.tar", TarMember(high) + TarEnd(), {"1 0 caf\xe9 1 644"}, ""},
      // A negative size would lead the walk back to the same header forever.
      {"back.tar", TarMember({"first", '0', "1"}) + TarMember(back) + TarEnd(), {"1 0 first 1 644"},
       "Error reading from 'back.tar': Header size out of range"},
      // A header cut short ends the walk quietly, as the end of the file does.
      {"cut.tar", TarMember({"first", '0', "1"}) + TarHeader({"second", '0', "2"}).substr(0, 300),
       {"1 0 first 1 644"}, ""},
      // A zero block between members is an entry of its own, not the end.
      {"gap.tar", TarMember({"one", '0', "1"}) + std::string(512, '\0') + TarMember({"two", '0', "2"}),
       {"1 0 one 1 644", "3 0 two 1 644"}, ""},
      // An empty file has no entries and no error.
      {"empty.tar", "", {}, ""},
  };
  for (const auto& c : cases) {
    if (strcmp(c.name, "a.tar") != 0) Write(c.name, c.bytes);  // a.tar is made above
    Tar tar(&host_);
    ASSERT_EQ(Open(tar, c.name), 1) << c.name;
    EXPECT_EQ(Walk(tar), c.walk) << c.name;
    EXPECT_EQ(tar.error(), c.error);
  }
}

// The extractor skips these itself; Write must refuse them all the same.
// (Truncation and Write's failure text are checked through the extractor.)
TEST_F(TarTest, WriteCopiesOnlyRegularEntries) {
  Write("a.tar",
        TarMember({"link", '2', "", "", "0000777", "/etc/passwd"}) + TarMember({"dev", '3', ""}) + TarEnd());
  Tar tar(&host_);
  ASSERT_EQ(Open(tar, "a.tar"), 1);
  ASSERT_EQ(tar.First(), 1);
  EXPECT_EQ(tar.type(), TarSymbolicLink);
  EXPECT_EQ(tar.Write(P("link.out").c_str(), "link.out"), 1);
  ASSERT_EQ(tar.Next(), 2);
  EXPECT_EQ(tar.type(), TarOther);
  EXPECT_EQ(tar.Write(P("dev.out").c_str(), "dev.out"), 1);
  EXPECT_EQ(access(P("link.out").c_str(), F_OK), -1);
  EXPECT_EQ(access(P("dev.out").c_str(), F_OK), -1);
}

}  // namespace
