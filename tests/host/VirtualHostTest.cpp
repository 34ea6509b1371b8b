#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "core/Package.h"
#include "host/CGISorn.h"
#include "host/UNIXConfig.h"
#include "host/UNIXConfigParser.h"
#include "tests/host/ScratchDir.h"

namespace {

// One request taken up to the end of ProcessConfiguration, with the
// configuration file made of conf_ and the host named by SERVER_NAME.
class VirtualHostTest : public ::testing::Test, protected ScratchDir {
 protected:
  void SetUp() override {
    MakeDir("site");
    MakeDir("data");
    Write("site/t.sn");
    base_ = {"sornroot=" + root_ + "/site", "stdmodedatadir=" + root_ + "/data", "dnslookup=0"};
    saved_path_ = getenv("PATH") ? getenv("PATH") : "";
  }
  void TearDown() override {
    sorn_.reset();
    unsetenv("SERVER_NAME");
    unsetenv("PATH_INFO");
    setenv("PATH", saved_path_.c_str(), 1);
  }

  // 1 when every step succeeded; body_ holds what the page got.
  int Run(const std::vector<std::string>& conf, const char* host = "www.one.test") {
    std::string text;
    for (const std::string& line : base_) text += line + "\n";
    for (const std::string& line : conf) text += line + "\n";
    Write("sorn.conf", text);
    host != nullptr ? setenv("SERVER_NAME", host, 1) : unsetenv("SERVER_NAME");
    setenv("PATH_INFO", "/t.sn", 1);
    program_ = root_ + "/sorn";
    char* argv[] = {&program_[0], nullptr};
    sorn_.reset(new CGISorn(1, argv));
    testing::internal::CaptureStdout();
    String path, name;
    int ok = sorn_->AddEnvironmentVariables() && sorn_->LoadConfiguration() && sorn_->CheckConfiguration() &&
             sorn_->GetScriptInformation(path, name) && sorn_->ProcessConfiguration(path, name);
    std::string page = testing::internal::GetCapturedStdout();
    size_t start = page.find("\r\n\r\n");
    body_ = start == std::string::npos ? "" : page.substr(start + 4);
    return ok;
  }
  int timeout() { return sorn_->config()->globaltimeout; }
  std::string packages() {
    std::string codes;
    for (Package* p = sorn_->packages()->First(); p != nullptr; p = sorn_->packages()->Next())
      codes += std::string(codes.empty() ? "" : ",") + p->code.chars();
    return codes;
  }

  std::string body_, program_, saved_path_;
  std::vector<std::string> base_;
  std::unique_ptr<CGISorn> sorn_;
};

TEST_F(VirtualHostTest, HostSettingsAreBuiltInFileOrderAndReadingStopsAfterTheOwnBlock) {
  const std::vector<std::string> conf = {
      "globaltimeout=1",
      "mailtimeout=1",
      "<VIRTUALHOST www.one.test>",
      "globaltimeout=2",
      "</VIRTUALHOST>",
      "mailtimeout=3",  // between the blocks: for the hosts whose block comes later
      "<VIRTUALHOST WWW.TWO.test>",
      "globaltimeout=4",
      "</VIRTUALHOST>",
      "globaltimeout=5",
      "calltimeout=5",  // behind the blocks: hosts without a block
  };
  struct {
    const char* host;
    int global, mail, call;
  } cases[] = {
      {"www.one.test", 2, 1, 30},
      {"www.two.TEST", 4, 3, 30},
      {"www.three.test", 5, 3, 5},
      {nullptr, 1, 1, 30},  // no host named: nothing from the first block on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.host ? c.host : "(no host)");
    ASSERT_EQ(Run(conf, c.host), 1) << body_;
    EXPECT_EQ(timeout(), c.global);
    EXPECT_EQ(sorn_->config()->mailtimeout, c.mail);
    EXPECT_EQ(sorn_->config()->calltimeout, c.call);
  }
  // The host comes from the variable that virtualhostvariable names, and an
  // address as given is compared as text.
  setenv("HTTP_X_SITE", "10.0.0.7", 1);
  ASSERT_EQ(Run({"virtualhostvariable=HTTP_X_SITE", "dnslookup=1", "<VIRTUALHOST 10.0.0.7>",
                 "globaltimeout=7", "</VIRTUALHOST>"}),
            1)
      << body_;
  unsetenv("HTTP_X_SITE");
  EXPECT_EQ(timeout(), 7);
  // Only the characters make an address here; with look-up on, both the
  // request's name and the block's are resolved.
  EXPECT_TRUE(UNIXConfigParser::IsIPAddr("") && UNIXConfigParser::IsIPAddr("1.2"));
  EXPECT_FALSE(UNIXConfigParser::IsIPAddr("10.0.0.1a"));
  for (auto [block, host] :
       {std::pair("<VIRTUALHOST 127.0.0.1>", "localhost"), {"<VIRTUALHOST localhost>", "127.0.0.1"}}) {
    ASSERT_EQ(Run({"dnslookup=1", block, "globaltimeout=9", "</VIRTUALHOST>"}, host), 1) << body_;
    EXPECT_EQ(timeout(), 9);
  }
}

TEST_F(VirtualHostTest, BadTagsAreNamedWhereverTheyStand) {
  const struct {
    std::vector<std::string> conf;
    const char* host;
    int result;
    const char* page;  // the whole page when it ends the line, else a part of it
  } cases[] = {
      {{"<VIRTUALHOST   >", "</VIRTUALHOST>"}, "www.one.test", 0,
       "Syntax error in Configuration File: Line 4: VIRTUALHOST expects exactly 1 parameter<BR>\n"
       "Please contact the server administrator: webmaster@localhost\r\n"},
      {{"</VIRTUALHOST>"}, "www.one.test", 0, "Line 4: /VIRTUALHOST without corresponding VIRTUALHOST<BR>"},
      // Inside another host's block the lines are skipped, but not the tags.
      {{"<VIRTUALHOST other>", "no equals sign here", "", "<VIRTUALHOST", "www.one.test>"}, "www.one.test", 0,
       "Line 8: Nested VIRTUALHOST tags are not allowed"},
      // The first host tag ends the file for a request without a host,
      // before its parameter is looked at.
      {{"<VIRTUALHOST>", "broken"}, nullptr, 1, ""},
      {{"<VIRTUALHOST a"}, "www.one.test", 0, "Unexpected end of file while looking for '&gt;'"},
      {{"<PACKAGE CODE=a NAME=n>"}, "www.one.test", 0, "&lt;PACKAGE&gt; requires the DESCRIPTION attribute"},
      {{"<COMMERCE-LIB METHOD=m>"}, "www.one.test", 0, "&lt;COMMERCE-LIB&gt; requires the LIBRARY attribute"},
      {{"<COMMERCE-LIB LIBRARY=l>"}, "www.one.test", 0, "&lt;COMMERCE-LIB&gt; requires the METHOD attribute"},
      {{"<CONTENT-TYPE MIMETYPE=\"text/plain\">"}, "www.one.test", 0,
       "&lt;CONTENT-TYPE&gt; requires the EXTS attribute"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.conf[0]);
    EXPECT_EQ(Run(c.conf, c.host), c.result);
    std::string page = c.page;
    if (page.size() > 2 && page.compare(page.size() - 2, 2, "\r\n") == 0)
      EXPECT_EQ(body_, page);
    else
      EXPECT_NE(body_.find(page), std::string::npos) << body_;
  }
}

TEST_F(VirtualHostTest, DeclarationsInAnyBlockAreKeptPackagesFilteredByTheKeyAndPathSet) {
  ASSERT_EQ(
      Run({"packages= tools , nosuch,SHOP, tools", "path=/opt/a:/opt/b",
           "<PACKAGE CODE=shop NAME=\"The shop\" DESCRIPTION=d VERSION=1 PATH=\"/p/shop.tar\">",
           "<VIRTUALHOST elsewhere.test>",
           "<PACKAGE CODE=tools NAME=Tools DESCRIPTION=\"\" VERSION=2 PATH=\"/p/tools.tar\" DEFAULTPATH=t>",
           "<COMMERCE-LIB METAMETHOD=\"pay\" LIBRARY=\"/lib/pay.so\">", "</VIRTUALHOST>",
           "<PACKAGE CODE=unused NAME=n DESCRIPTION=d VERSION=1 PATH=\"/p/u.tar\">",
           "<COMMERCE-LIB METHOD=ship METAMETHOD=old LIBRARY=\"/lib/ship.so\">",
           "<CONTENT-TYPE MIMETYPE=\"text/plain\" EXTS=\"txt, .SN\">",
           "<CONTENT-TYPE MIMETYPE=\"text/x-sorn\" EXTS=sn>",
           "<CONTENT-TYPE MIMETYPE=\"text/x-any\" DEFAULT>"}),
      1)
      << body_;
  EXPECT_EQ(packages(), "tools,shop");
  Package* tools = sorn_->packages()->Find("TOOLS");
  ASSERT_NE(tools, nullptr);
  EXPECT_STREQ(tools->description.chars(), "");
  EXPECT_STREQ(tools->defaultpath.chars(), "t");
  EXPECT_STREQ(sorn_->packages()->Find("shop")->name.chars(), "The shop");
  SearchableList<CommerceMethod>* methods = sorn_->commercemethods();
  ASSERT_EQ(methods->Entries(), 2);
  EXPECT_STREQ(methods->First()->name.chars(), "pay");
  EXPECT_STREQ(methods->Next()->name.chars(), "ship");
  EXPECT_STREQ(methods->Current()->library.chars(), "/lib/ship.so");
  // Content types by extension, the later type for the same one, a default.
  UNIXConfig* config = static_cast<UNIXConfig*>(sorn_->config());
  for (auto [ext, type] :
       {std::pair("sn", "text/x-sorn"), {".TXT", "text/plain"}, {"html", "text/x-any"}, {"", "text/x-any"}})
    EXPECT_STREQ(config->GetContentType(ext).chars(), type) << ext;
  config->AddContentType(" , .a,b ", "x/y");  // blanks, an empty item, a dot
  EXPECT_STREQ(config->GetContentType("").chars(), "x/y");
  EXPECT_STREQ(config->GetContentType("B").chars(), "x/y");
  EXPECT_STREQ(getenv("PATH"), "/opt/a:/opt/b");
  // Without the key no package stays enabled; the default path is the
  // directory the engine started in.
  ASSERT_EQ(Run({"<PACKAGE CODE=a NAME=n DESCRIPTION=d VERSION=1 PATH=p>"}), 1) << body_;
  EXPECT_EQ(sorn_->packages()->Entries(), 0);
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_STREQ(getenv("PATH"), cwd);
}

// The first request for a host records its block in the workdir tables;
// later ones take the rows, whatever the file's block says by then.
TEST_F(VirtualHostTest, HostRowsAreRecordedOnceAndThenReplaceTheBlock) {
  MakeDir("work");
  base_.push_back("workdir=" + P("work"));
  auto conf = [](int one, int two) {
    return std::vector<std::string>{"globaltimeout=7", "<VIRTUALHOST www.one.test>",
                                    "globaltimeout=" + std::to_string(one), "</VIRTUALHOST>",
                                    "<VIRTUALHOST www.two.test>", "globaltimeout=" + std::to_string(two),
                                    "</VIRTUALHOST>"};
  };
  // The second host has no rows until its own first request.
  const struct { int one, two; const char* host; int timeout; } runs[] = {
      {11, 22, "www.one.test", 11}, {33, 44, "www.one.test", 11}, {33, 44, "www.two.test", 44},
      {55, 66, "www.two.test", 44}};
  for (const auto& r : runs) {
    ASSERT_EQ(Run(conf(r.one, r.two), r.host), 1) << body_;
    EXPECT_EQ(timeout(), r.timeout) << r.one << " " << r.host;
  }
  EXPECT_EQ(access(P("work/sornvh.dbf").c_str(), F_OK) + access(P("work/sornvh.snx").c_str(), F_OK), 0);
  // The rows' table cut short behind its header: the index still names
  // rows that can't be read.
  ASSERT_EQ(truncate(P("work/sornvh.dbf").c_str(), 129), 0);
  EXPECT_EQ(Run(conf(33, 44)), 0);
  EXPECT_NE(body_.find("The virtual host database is corrupt"), std::string::npos) << body_;
  // Not a table at all: the table's own words.
  Write("work/sornvh.dbf", "garbage");
  EXPECT_EQ(Run(conf(33, 44)), 0);
  EXPECT_NE(body_.find("sornvh.dbf"), std::string::npos) << body_;
}

}  // namespace
