#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ext/UNIXCommerceHandler.h"
#include "ext/sorn_extension.h"
#include "tests/host/ConfiguredRequest.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"
#include "tests/host/TestPeer.h"

namespace {

std::string ToURL(const char* url, const std::vector<std::pair<const char*, const char*>>& entries) {
  SornList* list = sorn_variablelist_new();
  for (const auto& e : entries) sorn_variablelist_setvariable(list, e.first, e.second);
  char* text = sorn_variablelist_to_url(url, list);
  std::string result = text;
  sorn_free(text);
  sorn_variablelist_delete(list);
  return result;
}

TEST(ExtensionVariables, URLFromAList) {
  EXPECT_EQ(ToURL("a.sn", {{"x", "1"}, {"y", "2"}}), "a.sn?x=1&y=2");
  EXPECT_EQ(ToURL("a.sn?p=1", {{"x", "1"}}), "a.sn?p=1+x=1");
  EXPECT_EQ(ToURL("a.sn?", {{"x", "1"}}), "a.sn??x=1");
  EXPECT_EQ(ToURL("a.sn?p=1+", {{"x", "1"}}), "a.sn?p=1+?x=1");
  // A "+" before any "?" is part of the path.
  EXPECT_EQ(ToURL("a+b.sn", {{"x", "1"}}), "a+b.sn?x=1");
  EXPECT_EQ(ToURL(nullptr, {}), "?");
  EXPECT_EQ(ToURL("go.sn", {{"full name", "Ann & Bob"}, {"sum", "1+1=2?"}}),
            "go.sn?full+name=Ann+%26+Bob&sum=1%2B1%3D2%3F");
}

TEST(ExtensionVariables, ListsAndTreesByNameWithoutCase) {
  SornList* list = sorn_variablelist_new();
  sorn_variablelist_setvariable(list, "Qty", "1");
  sorn_variablelist_setvariable(list, "QTY", "2");
  EXPECT_STREQ(sorn_variable_value(sorn_variablelist_find(list, "qty")), "2");
  EXPECT_STREQ(sorn_variable_name(sorn_variablelist_first(list)), "Qty");
  EXPECT_EQ(sorn_variablelist_next(list), nullptr);
  sorn_variablelist_dump(list);
  EXPECT_EQ(sorn_variablelist_first(list), nullptr);
  // Making a URL leaves the cursor where it was.
  sorn_variablelist_setvariable(list, "a", "1");
  sorn_variablelist_setvariable(list, "b", "2");
  sorn_variablelist_setvariable(list, "c", "3");
  sorn_variablelist_first(list);
  SornVariable* second = sorn_variablelist_next(list);
  sorn_free(sorn_variablelist_to_url("x", list));
  EXPECT_EQ(sorn_variablelist_current(list), second);
  EXPECT_STREQ(sorn_variable_name(sorn_variablelist_next(list)), "c");
  EXPECT_EQ(sorn_variablelist_next(list), nullptr);
  EXPECT_EQ(sorn_variablelist_current(list), nullptr);
  sorn_variablelist_delete(list);
  sorn_variablelist_delete(nullptr);

  SornTree* tree = sorn_variabletree_new();
  sorn_variabletree_insert(tree, sorn_variable_new("Total", "12.50"));
  sorn_variabletree_setvariable(tree, "TOTAL", "13.00");
  SornVariable* total = sorn_variabletree_find(tree, "total");
  ASSERT_NE(total, nullptr);
  EXPECT_STREQ(sorn_variable_value(total), "13.00");
  sorn_variable_setvalue(total, nullptr);
  EXPECT_STREQ(sorn_variable_value(total), "");
  sorn_variabletree_dump(tree);
  EXPECT_EQ(sorn_variabletree_find(tree, "total"), nullptr);
  sorn_variabletree_delete(tree);
  sorn_variabletree_delete(nullptr);
  EXPECT_EQ(sorn_alloc(-1), nullptr);
}

// A configured request with site/ as the script root and data/ as the
// data directory, and a parser whose handle the functions get.
class ExtensionTest : public ConfiguredRequest {
 protected:
  void SetUp() override {
    MakeDir("site");
    MakeDir("data");
    MakeDir("data/shop");
    Write("site/t.sn", "");
  }
  void Start(const std::string& extra = "") {
    ConfiguredRequest::Start("site", "data", std::vector<std::string>(extra.empty() ? 0 : 1, extra));
    expander_.reset(new MacroExpander(sorn_.get(), 8));
    parser_.reset(new ScriptParser(sorn_.get(), expander_.get()));
  }
  SornHandle* H() { return reinterpret_cast<SornHandle*>(parser_.get()); }

  std::unique_ptr<MacroExpander> expander_;
  std::unique_ptr<ScriptParser> parser_;
};

TEST_F(ExtensionTest, NamesPassTheScriptsContainmentRulesAndLocationsResolve) {
  Start("commercedir=shop");
  EXPECT_EQ(sorn_file_open(H(), SORN_LOCATION_DATA, "../x", SORN_FILE_READ), nullptr);
  EXPECT_STREQ(sorn_file_error(H(), nullptr), "'../x' is not contained in the configured data directory");
  // Each refused name gives its function's own failure value, not "no".
  EXPECT_EQ(sorn_file_exists(H(), 0, "../x"), -1);
  EXPECT_EQ(sorn_file_size(H(), 0, "../x"), -1);
  EXPECT_EQ(sorn_file_isdirectory(H(), 0, "../x"), 0);
  EXPECT_EQ(sorn_file_delete(H(), 0, "../x"), -1);
  EXPECT_EQ(sorn_file_mode(H(), 0, "../x"), -1);
  EXPECT_EQ(sorn_file_rename(H(), 0, "a", 0, "../x"), -1);
  char buffer[200] = "untouched";
  EXPECT_EQ(sorn_file_resolve(H(), 0, "../x", buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "untouched");
  EXPECT_EQ(sorn_file_exists(H(), 0, "nosuch"), 0);
  // A commerce directory outside the data directory is refused.
  Start("commercedir=../site");
  EXPECT_EQ(sorn_file_resolve(H(), SORN_LOCATION_COMMERCE, "t.sn", buffer, sizeof buffer), 0);
  EXPECT_NE(std::string(sorn_file_error(H(), nullptr)).find("not contained"), std::string::npos);

  Start("commercedir=shop/");
  // One separator between the directory and the name, whichever has it.
  ASSERT_EQ(sorn_file_resolve(H(), SORN_LOCATION_COMMERCE, "log.txt", buffer, sizeof buffer), 1);
  EXPECT_EQ(std::string(buffer), P("data/shop/log.txt"));
  ASSERT_EQ(sorn_file_resolve(H(), SORN_LOCATION_SCRIPT, "t.sn", buffer, sizeof buffer), 1);
  EXPECT_EQ(std::string(buffer), P("site/t.sn"));
  // An unknown location is a data path.
  ASSERT_EQ(sorn_file_resolve(H(), 7, "x", buffer, sizeof buffer), 1);
  EXPECT_EQ(std::string(buffer), P("data/x"));
  char small[4] = {'a', 'b', 'c', 'd'};
  ASSERT_EQ(sorn_file_resolve(H(), 0, "x", small, sizeof small), 1);
  EXPECT_EQ(std::string(small), root_.substr(0, 3));
  EXPECT_EQ(sorn_file_resolve(H(), 0, "x", small, 0), 1);

  SornFile* file = sorn_file_open(H(), SORN_LOCATION_COMMERCE, "/n.txt", 2 | 4);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(sorn_file_write(file, "abcdef", 6), 6);
  EXPECT_EQ(sorn_file_length(file), 6);
  EXPECT_EQ(sorn_file_write(file, nullptr, 3), -1);
  sorn_file_close(file);
  sorn_file_close(nullptr);
  EXPECT_EQ(sorn_file_size(H(), 0, "shop/n.txt"), 6);
  EXPECT_EQ(sorn_file_changemode(H(), 0, "shop/n.txt", 0640), 0);
  EXPECT_EQ(sorn_file_mode(H(), 0, "shop/n.txt") & 0777, 0640);
  EXPECT_EQ(sorn_file_makedirectory(H(), 3, "sub"), 0);
  EXPECT_EQ(sorn_file_isdirectory(H(), 0, "shop/sub"), 1);
  EXPECT_EQ(sorn_file_removedirectory(H(), 3, "sub"), 0);
  EXPECT_EQ(sorn_file_delete(H(), 3, "n.txt"), 0);
  EXPECT_EQ(sorn_file_exists(H(), 3, "n.txt"), 0);
  EXPECT_EQ(sorn_file_pathseparator(H()), '/');
}

// What a second process is refused while this one holds the lock: a read
// lock only under an exclusive lock.
int HolderOf(const std::string& path) {
  pid_t child = fork();
  if (child == 0) {
    int fd = open(path.c_str(), O_RDWR);
    struct flock probe = {};
    probe.l_type = F_RDLCK;
    probe.l_whence = SEEK_SET;
    probe.l_len = 10;
    int read = fcntl(fd, F_GETLK, &probe) == 0 && probe.l_type == F_UNLCK;
    probe.l_type = F_WRLCK;  // F_GETLK may have rewritten the range
    probe.l_start = 0;
    probe.l_len = 10;
    int write = fcntl(fd, F_GETLK, &probe) == 0 && probe.l_type == F_UNLCK;
    _exit(read * 2 + write);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WEXITSTATUS(status);
}

TEST_F(ExtensionTest, LockTypeTwoIsExclusiveAndEveryOtherShared) {
  Start();
  Write("data/l", "0123456789");
  SornFile* file = sorn_file_open(H(), 0, "l", SORN_FILE_READ | SORN_FILE_WRITE);
  ASSERT_NE(file, nullptr);
  // Others may read, not write (2), or neither (0); both (3) once released.
  for (auto [type, others] : {std::pair<int, int>{1, 2}, {2, 0}, {0, 2}}) {
    ASSERT_EQ(sorn_file_lock(file, type, 0, 10), 0);
    EXPECT_EQ(HolderOf(P("data/l")), others) << type;
    ASSERT_EQ(sorn_file_release(file, 0, 10), 0);
    EXPECT_EQ(HolderOf(P("data/l")), 3) << type;
  }
  sorn_file_close(file);
}

TEST_F(ExtensionTest, NetworkLinesAreCutAndAddressesCopied) {
  Start();
  TestPeer peer(TestPeer::Reply("a long line of text\r\nnext\r\n"), 1, false);
  SornConnection* c = sorn_network_connect(H(), "127.0.0.1", peer.port());
  ASSERT_NE(c, nullptr) << sorn_network_error(H(), nullptr);
  char buffer[8];
  memset(buffer, 'x', sizeof buffer);
  EXPECT_EQ(sorn_network_readline(c, buffer, sizeof buffer, 5), 7);
  EXPECT_STREQ(buffer, "a long ");
  // The rest of the long line is gone; the next call gets the next line.
  EXPECT_EQ(sorn_network_readline(c, buffer, sizeof buffer, 5), 6);
  EXPECT_STREQ(buffer, "next\r\n");
  EXPECT_LT(sorn_network_readline(c, buffer, sizeof buffer, 5), 0);
  sorn_network_close(c);
  sorn_network_close(nullptr);

  EXPECT_EQ(sorn_network_isipaddress(H(), "127.0.0.1"), 1);
  EXPECT_EQ(sorn_network_isipaddress(H(), "localhost"), 0);
  char address[5];
  EXPECT_EQ(sorn_network_gethostaddress(H(), "127.0.0.1", address, sizeof address), 0);
  EXPECT_STREQ(address, "127.");
  EXPECT_LT(sorn_network_gethostaddress(H(), "no-such-host.invalid", address, sizeof address), 0);
  EXPECT_STRNE(sorn_network_error(H(), nullptr), "");
}

// The sample library through the handler, as SnCOMMERCE drives it.
TEST_F(ExtensionTest, SampleShopListsAndOrders) {
  Start("commercedir=shop");
  Write("data/shop/catalog.txt", "A1;Apple;0.50\r\n\nbroken line\nP2;Pear;1.2\n");
  CommerceMethod method("sampleshop", SORN_SAMPLESHOP);
  {
    UNIXCommerceHandler handler(&method, parser_.get());
    handler.SetAction("list");
    handler.SetFields("");
    VariableTree tree;
    std::vector<std::string> rows;
    for (int r = handler.Go(tree); r == CommerceResultReady; r = handler.Continue(tree))
      rows.push_back(std::string(tree.Find("CODE")->value().chars()) + "=" +
                     tree.Find("PRICE")->value().chars());
    EXPECT_EQ(rows, (std::vector<std::string>{"A1=0.50", "P2=1.2"})) << handler.error().chars();
  }
  parser_->vars()->SetVariable("code", "P2");
  parser_->vars()->SetVariable("quantity", "3");
  for (int i = 1; i <= 2; i++) {
    UNIXCommerceHandler handler(&method, parser_.get());
    handler.SetAction("order");
    handler.SetFields(" code , quantity,customer,");
    ASSERT_EQ(handler.fields.Entries(), 3);
    VariableTree tree;
    ASSERT_EQ(handler.Go(tree), CommerceResultReady) << handler.error().chars();
    EXPECT_STREQ(tree.Find("ORDER")->value().chars(), std::to_string(i).c_str());
    EXPECT_STREQ(tree.Find("TOTAL")->value().chars(), "3.60");
    EXPECT_EQ(handler.Continue(tree), CommerceResultFinished);
  }
  EXPECT_EQ(Read("data/shop/orders.txt"), "1;P2;3;3.60;\n2;P2;3;3.60;\n");

  parser_->vars()->SetVariable("code", "Z9");
  UNIXCommerceHandler handler(&method, parser_.get());
  handler.SetAction("order");
  handler.SetFields("code,quantity");
  VariableTree tree;
  EXPECT_EQ(handler.Go(tree), CommerceResultError);
  EXPECT_STREQ(handler.error().chars(), "Unknown product 'Z9'");
}

}  // namespace
