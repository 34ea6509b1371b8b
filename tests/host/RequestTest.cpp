#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <chrono>
#include <regex>
#include <thread>

#include "host/URLEncodedParser.h"
#include "tests/core/ScopedTimeZone.h"
#include "tests/host/TestHost.h"

namespace {

const char* const kCGINames[] = {"PATH_INFO", "QUERY_STRING", "HTTPS", "SERVER_PORT", "SERVER_NAME", "SCRIPT_NAME",
                                 "TERMCAP", "Mail", "TZ"};

// A host made after the environment was set, with the request steps run.
std::unique_ptr<TestHost> Publish(std::vector<std::pair<const char*, const char*>> env, int argc = 1,
                                  char** argv = nullptr) {
  for (const char* name : kCGINames) unsetenv(name);
  for (auto& [name, value] : env) setenv(name, value, 1);
  auto host = std::make_unique<TestHost>("", 1 << 20, argc, argv);
  host->AddEnvironmentVariables();
  host->AddQueryArguments();
  host->AddQueryVariables();
  host->AddAPIVariables();
  for (const char* name : kCGINames) unsetenv(name);
  return host;
}

// The named system variables, each followed by '|'.
std::string Sys(TestHost& host, std::initializer_list<const char*> names) {
  std::string joined;
  for (const char* name : names) joined += host.sysvar(name) + "|";
  return joined;
}

}  // namespace

TEST(RequestVariables, QueryWordsFormVariablesAndDocumentURL) {
  auto cgi = Publish({{"QUERY_STRING", "page.sn+a=1&b=2&a=x%41+\\y"}, {"SCRIPT_NAME", "/cgi"}, {"SERVER_NAME", "h"}});
  const auto names = {"nargs", "arg1", "arg2", "arg3", "apitype", "documenturl"};
  EXPECT_EQ(Sys(*cgi, names), "3|page.sn|a=1&b=2&a=xA|y|CGI|http://h/cgi?page.sn+|");
  EXPECT_EQ(cgi->value("a"), "1,xA y");
  EXPECT_FALSE(Publish({{"QUERY_STRING", "a=1"}})->has("a"));  // only the script's name

  auto redirect = Publish({{"PATH_INFO", "/x\\.sn"}, {"QUERY_STRING", "one++t%77o&k=v& s = %20v%20&flag&&e=&e=x"},
                           {"HTTPS", "ON"}, {"SERVER_PORT", "8443"}, {"SERVER_NAME", "h"}});
  EXPECT_EQ(Sys(*redirect, names), "3|/x.sn|one|two&k=v& s =  v &flag&&e=&e=x|Redirect|https://h:8443/x\\.sn?|");
  EXPECT_EQ(redirect->value("s"), " v ");
  EXPECT_EQ(redirect->value("flag"), "flag");
  EXPECT_EQ(redirect->value("e"), ",x");
  EXPECT_EQ(Publish({{"PATH_INFO", "/t"}, {"HTTPS", "on"}, {"SERVER_PORT", "443"}})->sysvar("documenturl"),
            "https:///t?");
  EXPECT_EQ(Publish({{"PATH_INFO", "/t"}, {"SERVER_PORT", "443"}})->sysvar("documenturl"), "http://:443/t?");

  char* argv[] = {(char*)"sorn", (char*)"page.sn", (char*)"", (char*)"a%20b", nullptr};
  auto words = Publish({{"QUERY_STRING", "ignored"}, {"TERMCAP", "x"}, {"Mail", "x"}}, 4, argv);
  EXPECT_EQ(Sys(*words, {"nargs", "arg2", "process_id"}), "2|a b|" + std::to_string(getpid()) + "|");
  EXPECT_FALSE(words->has("TERMCAP") || words->has("MAIL") || words->has("PATH"));
}

TEST(RequestVariables, CookieKeepsAUsableCallerIdOnly) {
  TestHost host;
  const std::regex cookie("lmtcallerid=(.*); expires=[A-Z][a-z]{2}, \\d\\d-[A-Z][a-z]{2}-\\d{4} [\\d:]{8} GMT; path=/");
  const std::pair<const char*, const char*> cases[] = {
      {"lmtcallerid=ABC; other=1", "ABC"}, {"other=1;LMTCALLERID=ABC", "ABC"}, {"a=1 lmtcallerid=x=y", "x=y"},
      {"xlmtcallerid=ABC", nullptr},       {"lmtcallerid=", nullptr},          {"lmtcallerid= ABC", nullptr},
      {"lmtcallerid=A\rB", nullptr},      {"", nullptr}};
  for (const auto& [header, kept] : cases) {
    SCOPED_TRACE(header);
    std::string text = host.BuildCookie(header).chars();
    std::smatch match;
    ASSERT_TRUE(std::regex_match(text, match, cookie)) << text;
    EXPECT_TRUE(kept ? match[1] == kept : std::regex_match(match[1].str(), std::regex("[0-9A-F]{24}0{8}")));
    EXPECT_EQ(host.sysvar("callerid"), match[1]);
  }
  EXPECT_STREQ(host.HTTPResultMessage(999), "");  // past the table
}

TEST(RequestVariables, MailDateZoneInWholeHours) {
  TestHost host;
  ScopedTimeZone guard("UTC0");
  for (auto [tz, zone] : {std::pair("UTC0", "-0000"), {"XYZ-3", "+0300"}, {"ABC+5", "-0500"}, {"IST-5:30", "+0500"}}) {
    guard.Set(tz);
    EXPECT_TRUE(std::regex_match(host.currentdate().chars(),
                                 std::regex(std::string("[A-Z][a-z]{2}, \\d\\d [A-Z][a-z]{2} \\d{4} [\\d:]{8} \\") + zone)));
  }
}

TEST(URLEncoded, PairsSpanReadsAndOnlyValuesAreDecoded) {
  const std::string body = "a=2&x%41=from+body&msg=hello+world%21&&a=3& sp = v+w &novalue";
  for (int buffersize : {1, 3, 1000}) {
    for (int chunk : {1, 2, 7}) {
      TestHost host(body, chunk);
      EXPECT_EQ(URLEncodedParser(&host, buffersize).Parse((int)body.size()), 0);
      EXPECT_EQ(host.value("a"), "2,3");
      EXPECT_EQ(host.value("x%41"), "from body");
      EXPECT_EQ(host.value("msg"), "hello world!");
      EXPECT_EQ(host.value("sp"), "v w");
      EXPECT_TRUE(host.has("novalue") && !host.has("xA"));
    }
  }
  TestHost longer("a=1&b=2", 3);  // stops at the announced length
  URLEncodedParser(&longer, 8).Parse(5);
  EXPECT_TRUE(longer.has("b") && longer.value("b").empty());
  EXPECT_EQ(longer.offset_, 5u);
}

TEST(ContentVariables, TypeAndLengthChooseTheParser) {
  const std::tuple<const char*, const char*, bool> cases[] = {
      {"Application/X-WWW-Form-URLencoded ; charset=utf-8", "3", true},
      {"text/plain", "3", false},
      {"application/x-www-form-urlencoded", "-3", false},
      {"application/x-www-form-urlencoded", "junk", false},
      {"application/x-www-form-urlencoded", "99999999999999999999", true}};
  for (const auto& [type, length, read] : cases) {
    SCOPED_TRACE(type + std::string(" ") + length);
    TestHost host("q=1", 2);
    host.headers_["Content-Type"] = type;
    host.headers_["Content-Length"] = length;
    EXPECT_EQ(host.AddContentVariables(), 1);
    EXPECT_EQ(host.has("q"), read);
    EXPECT_EQ(host.reads_ > 0, read);
  }
}

// The real body reader on a pipe: waiting costs no processor time, and a
// signal ends the wait.
TEST(ReadContent, WaitsQuietlyAndGivesUpOnASignal) {
  int pipefd[2];
  ASSERT_EQ(pipe(pipefd), 0);
  int saved = dup(0);
  dup2(pipefd[0], 0);
  {
    CGISorn host(0, nullptr);
    char buffer[16];
    ASSERT_EQ(write(pipefd[1], "ab", 2), 2);
    EXPECT_EQ(host.ReadContent(buffer, sizeof buffer), 2);
    struct rusage before, after;
    getrusage(RUSAGE_SELF, &before);
    pthread_t reader = pthread_self();
    std::thread later([reader] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      pthread_kill(reader, SIGTERM);
    });
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(host.ReadContent(buffer, sizeof buffer), -1);
    later.join();
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_LT((after.ru_utime.tv_sec - before.ru_utime.tv_sec) * 1000000L + after.ru_utime.tv_usec -
                  before.ru_utime.tv_usec, 100000L);
  }
  dup2(saved, 0);
  close(saved);
  close(pipefd[0]);
  close(pipefd[1]);
}
