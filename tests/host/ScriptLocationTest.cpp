#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "core/Config.h"
#include "host/CGISorn.h"
#include "tests/host/ScratchDir.h"

namespace {

// One request taken through configuration, script location and the data
// directory, with site/ as the script root and data/ as the data directory.
class ScriptLocationTest : public ::testing::Test, protected ScratchDir {
 protected:
  void SetUp() override {
    MakeDir("site");
    MakeDir("data");
    Write("site/t.sn");
    conf_ = {"sornroot=" + P("site"), "stdmodedatadir=" + P("data")};
  }
  void TearDown() override {
    sorn_.reset();
    unsetenv("PATH_INFO");
    unsetenv("QUERY_STRING");
  }

  // How many of the three steps succeeded; body_ is the page behind the
  // header block.
  int Run(const char* pathinfo, const char* query = "", const char* arg1 = nullptr) {
    FILE* f = fopen(P("sorn.conf").c_str(), "w");
    for (const std::string& line : conf_) fprintf(f, "%s\n", line.c_str());
    fclose(f);
    pathinfo != nullptr ? setenv("PATH_INFO", pathinfo, 1) : unsetenv("PATH_INFO");
    setenv("QUERY_STRING", query, 1);
    args_ = {P("sorn"), arg1 != nullptr ? arg1 : ""};
    char* argv[] = {&args_[0][0], &args_[1][0], nullptr};
    sorn_.reset(new CGISorn(arg1 != nullptr ? 2 : 1, argv));
    testing::internal::CaptureStdout();
    int steps = 0;
    if (sorn_->LoadConfiguration() && sorn_->CheckConfiguration() && ++steps &&
        sorn_->GetScriptInformation(path_, name_) && ++steps && sorn_->ProcessConfiguration(path_, name_))
      ++steps;
    // The capture file belongs to the real user: read it as that user.
    euid_ = geteuid();
    if (euid_ != getuid() && seteuid(getuid()) != 0) return -1;
    std::string page = testing::internal::GetCapturedStdout();
    size_t start = page.find("\r\n\r\n");
    body_ = start == std::string::npos ? "" : page.substr(start + 4, page.size() - start - 6);
    return steps;
  }
  std::string Resolve(const std::string& path, PathType type) {
    String result, message;
    if (!sorn_->ResolvePath(path.c_str(), result, type, message)) return std::string("! ") + message.chars();
    return result.chars();
  }

  std::string body_;
  std::vector<std::string> conf_, args_;
  std::unique_ptr<CGISorn> sorn_;
  String path_, name_;
  uid_t euid_ = 0;
};

// Path info wins over the argument, the argument over the query string; the
// root runs its default document under the document's own name. A script
// outside the root or behind a link fails in the second step.
TEST_F(ScriptLocationTest, ScriptIsNamedByPathInfoThenArgumentThenQueryStringAndStaysInside) {
  Write("site/start.sn");
  Write("site/u.sn");
  Write("x.sn");
  symlink("t.sn", P("site/link.sn").c_str());
  conf_.push_back("sorndefault=start.sn");
  const struct { const char *pathinfo, *query, *arg1, *path, *text; } cases[] = {  // text: name or page
      {"/t.sn", "u.sn", "u.sn", "site/t.sn", "t.sn"}, {nullptr, "t.sn", "u\\.sn", "site/u.sn", "u.sn"},
      {nullptr, "u.sn+t.sn", nullptr, "site/u.sn", "u.sn"}, {"/", "", nullptr, "site/start.sn", "start.sn"},
      {"/sub//../../x.sn", "", nullptr, nullptr,
       "Fatal Error: 'sub//../../x.sn' is not contained in the configured script directory"},
      {"/link.sn", "", nullptr, nullptr, "Fatal Error: 'link.sn' references a symbolic link"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(Run(c.pathinfo, c.query, c.arg1), c.path ? 3 : 1) << body_;
    EXPECT_EQ(c.path ? name_.chars() : body_, c.text);
    if (c.path) {
      EXPECT_EQ(path_.chars(), P(c.path));
    }
  }
  conf_.push_back("securityoptions=1");
  ASSERT_EQ(Run("/link.sn"), 3) << body_;
  EXPECT_EQ(path_.chars(), P("site/link.sn"));
  EXPECT_EQ(sorn_->datadirectory().chars(), P("data"));
}

TEST_F(ScriptLocationTest, AuthorizedModesCheckTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "changing owners needs root";
  conf_.push_back("authuserdir=" + P("data"));
  EXPECT_EQ(Run("/t.sn"), 2);
  EXPECT_NE(body_.find("Error: root is not authorized to use loomtext<BR>"), std::string::npos) << body_;
  ASSERT_EQ(chown(P("site/t.sn").c_str(), 1, 1), 0);
  EXPECT_EQ(Run("/t.sn"), 2);
  EXPECT_EQ(body_, "Fatal Error: 't.sn' is not owned by root");

  // A set-user-id root engine file means server safe mode: the request then
  // runs as the script's owner.
  Write("sorn");
  ASSERT_EQ(chmod(P("sorn").c_str(), 04755), 0);
  ASSERT_EQ(Run("/t.sn"), 3) << body_;
  EXPECT_EQ(sorn_->servermode(), 2);
  EXPECT_EQ(euid_, 1u);
  EXPECT_EQ(Run("/~nosuch-user-x/t.sn"), 1);
  EXPECT_NE(body_.find("Error: The configured script directory for nosuch-user-x does not exist<BR>"),
            std::string::npos);
  ASSERT_EQ(chown(P("site/t.sn").c_str(), 54321, 54321), 0);
  conf_.back() = "authuserdir=nosuch-sorn-data";
  EXPECT_EQ(Run("/t.sn"), 2);
  EXPECT_NE(body_.find("Error: The configured data directory for #54321 does not exist<BR>"), std::string::npos);
}

TEST_F(ScriptLocationTest, ResolvePathJoinsWalksAndContainsEachKindOfPath) {
  MakeDir("tmp");
  ASSERT_EQ(Run("/t.sn"), 3) << body_;
  Config* config = sorn_->config();
  EXPECT_EQ(Resolve("sub/../f", DataPath), P("data/f"));
  EXPECT_EQ(Resolve("/etc/passwd", DataPath), P("data/etc/passwd"));
  EXPECT_EQ(Resolve("../f", TemporaryPath), "! '../f' is not contained in the configured data directory");
  config->securityoptions = DataAbsolutePaths;
  EXPECT_EQ(Resolve("/etc/passwd", DataPath), "! '/etc/passwd' is not contained in the configured data directory");
  EXPECT_EQ(Resolve(P("data/./f"), DataPath), P("data/f"));

  symlink(P("nosuch").c_str(), P("data/d").c_str());
  config->securityoptions = ScriptFollowLinks | TemporaryFollowLinks;
  EXPECT_EQ(Resolve("d", DataPath), "! 'd' references a symbolic link");
  config->securityoptions = DataFollowLinks;
  EXPECT_EQ(Resolve("d", DataPath), "! 'd' references a symbolic link to a directory or file that does not exist");
  config->securityoptions = DataFollowLinks | DataAnyLinkOwner;
  EXPECT_EQ(Resolve("d", DataPath), P("data/d"));

  config->tempdir = (root_ + "//tmp/").c_str();
  EXPECT_EQ(Resolve("x", TemporaryPath), P("tmp/x"));
  EXPECT_EQ(Resolve("../x", TemporaryPath), "! '../x' is not contained in the configured temporary directory");

  EXPECT_EQ(Resolve("../x.sn", ScriptPath), "! '../x.sn' is not contained in the configured script directory");
  EXPECT_EQ(Resolve("/etc/x", ScriptPath), P("site/etc/x"));
  config->securityoptions = ScriptAbsolutePaths;
  EXPECT_EQ(Resolve("/etc/x", ScriptPath), "! '/etc/x' is not contained in the configured script directory");
  EXPECT_EQ(Resolve(P("site/a.sn"), ScriptPath), P("site/a.sn"));
}

}  // namespace
