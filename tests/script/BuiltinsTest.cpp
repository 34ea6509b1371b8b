#include <gtest/gtest.h>

#include <stdlib.h>
#include <time.h>

#include <set>
#include <string>

#include "script/Builtins.h"
#include "tests/core/ScopedTimeZone.h"
#include "tests/host/TestHost.h"
#include "tests/script/BuiltinCall.h"
#include "tests/script/RunScript.h"

namespace {

class BuiltinsTest : public ::testing::Test {
 protected:
  std::string Call(const char* name, const std::vector<std::string>& args) { return CallBuiltin(&host_, name, args); }
  TestHost host_;
};

// The table is looked up in any case, so no two names may differ only in
// case; scripts call by any case, and no function may take a builtin's name.
TEST_F(BuiltinsTest, TableNamesAreUniqueAndCalledInAnyCase) {
  int count;
  const BuiltinDescriptor* table = BuiltinTable(&count);
  EXPECT_EQ(count, 92);  // a row lost in an edit
  std::set<std::string> names;
  for (int i = 0; i < count; i++) {
    std::string lower = table[i].name;
    for (char& c : lower) c = (char)tolower((unsigned char)c);
    EXPECT_TRUE(names.insert(lower).second) << table[i].name;
  }
  EXPECT_EQ(RunScript("<SnEVAL EXPR=\"{ LEN('abc') $ Substring('abcd', 2, 2) $ isdigit(TimeZone() * -1 + 100) }\">"), "3bc1");
  EXPECT_EQ(RunScript("<SnFUNCTION NAME=\"Len\" PARAMETERS=\"s\"></SnFUNCTION>"),
            "t.sn: Line 1: Syntax Error: Function 'Len' has the same name as a built-in function\r\n");
}

// Calls whose result depends on the arguments alone: the edges of each
// function's ranges, bad numbers, and NUL bytes in the text.
TEST_F(BuiltinsTest, PureFunctionsAtTheEdgesOfTheirArguments) {
  const std::string nul("\0", 1), anb("a\0b", 3);
  const struct {
    const char* name;
    std::vector<std::string> args;
    std::string result;
  } cases[] = {
      {"substring", {"abc", "3", "1"}, "c"}, {"substring", {"abc", "4", "1"}, ""},
      {"substring", {"abc", "0", "2"}, "ab"}, {"substring", {"abc", "-2147483648", "1"}, "a"},
      {"substring", {"abc", "2", "0"}, ""}, {"substring", {"abc", "2", "2147483647"}, "bc"},
      {"substring", {"abc", "2147483647", "2147483647"}, ""}, {"substring", {"abc", "x", "y"}, ""},
      {"substring", {"", "1", "1"}, ""}, {"substring", {anb, "2", "2"}, std::string("\0b", 2)},
      // Class tests need every character and take the empty text.
      {"isdigit", {"12a"}, "0"}, {"isspace", {" \t\r\n\v\f"}, "1"}, {"iscntrl", {"\x01\x1f\x7f"}, "1"},
      {"isascii", {"\x01~"}, "1"}, {"isascii", {"a\x80"}, "0"}, {"isascii", {anb}, "0"},
      {"isprint", {"\xe9"}, "0"},
      // A right trim keeps the first character of a blank text.
      {"rtrim", {""}, ""}, {"rtrim", {" "}, " "}, {"rtrim", {"   "}, " "}, {"rtrim", {"a \t\r\n"}, "a"},
      {"rtrim", {" a\v"}, " a\v"}, {"ltrim", {" \t\r\n"}, ""}, {"ltrim", {"\n a "}, "a "}, {"ltrim", {""}, ""},
      {"toupper", {"aZ\xe9-1"}, "AZ\xe9-1"}, {"len", {anb}, "3"}, {"asciivalue", {""}, "0"},
      {"asciivalue", {"\xff"}, "255"}, {"asciichar", {"256"}, nul}, {"asciichar", {"-1"}, "\xff"},
      {"asciichar", {"x"}, nul},
      // Padding never cuts.
      {"padr", {"7", "3", "xy"}, "7xx"}, {"padl", {"7", "3", ""}, "  7"}, {"padl", {"abc", "2", "0"}, "abc"},
      {"padr", {"abc", "-5", "0"}, "abc"}, {"padr", {"abc", "many", "0"}, "abc"}, {"padl", {"", "1", nul}, nul},
      {"glosub", {"abc", "", "x"}, "abc"}, {"glosub", {"aXbX", "X", "XX"}, "aXXbXX"},
      {"gettoken", {"a,,b", ",", "3"}, "b"}, {"gettoken", {"a,,b", ",", "2"}, ""}, {"gettoken", {"a,", ",", "2"}, ""},
      {"gettoken", {"a,", ",", "3"}, ""}, {"gettoken", {"a;b c", "; ", "3"}, "c"},
      {"gettoken", {"a,b", "", "1"}, "a,b"},
      {"gettoken", {"a,b", ",", "0"}, ""}, {"gettoken", {"a,b", ",", "-1"}, ""}, {"gettoken", {"", ",", "1"}, ""},
      // Numbers come back as the arithmetic writes them; rnd keeps its decimals.
      {"sqrt", {"2"}, "1.414214"}, {"abs", {"-2.50"}, "2.5"}, {"floor", {"abc"}, "0"},
      {"power", {"10", "20"}, "100000000000000000000"}, {"power", {"10", "400"}, "inf"}, {"log", {"0"}, "-inf"},
      {"int", {"1e3"}, "1"}, {"int", {"-1.9"}, "-1"}, {"int", {""}, "0"}, {"rnd", {"1", "2"}, "1.00"},
      {"rnd", {"2.5", "0"}, "2"}, {"rnd", {"1", "-1"}, "1.000000"}, {"random", {"0"}, "0"}, {"random", {"-3"}, "0"},
      {"random", {"abc"}, "0"},
      // Time parts in UTC with an hour offset; out of gmtime's range, and a
      // sum past the range of the type, the all-zero record.
      {"time_t_hour", {"0", "5"}, "5"}, {"time_t_year", {"0", "-1"}, "1969"},
      {"time_t_dayofyear", {"0", "-1"}, "365"}, {"time_t_dayofweek", {"952074307", "0"}, "6"},
      {"time_t_min", {"952074307", "abc"}, "5"}, {"time_t_year", {"99999999999999999999", "2147483647"}, "1900"},
      {"time_t_month", {"-99999999999999999999", "-2147483648"}, "1"},
      {"mktime_t", {"1970", "1", "1", "0", "0", "0", "0"}, "0"},
      // Without packages every package function finds nothing.
      {"sorn_package_list", {}, ""}, {"sorn_package_name", {"nosuch"}, ""}, {"sorn_package_defaultpath", {""}, ""},
      {"sorn_package_extract", {"nosuch", "x", ""}, "Package 'nosuch' is not available"},
  };
  for (const auto& c : cases) {
    std::string args;
    for (const std::string& a : c.args) args += "[" + a + "]";
    EXPECT_EQ(Call(c.name, c.args), c.result) << c.name << args;
  }
  for (const char* name : {"isalpha", "isupper", "islower", "isdigit", "isxdigit", "isalnum", "isspace",
                           "ispunct", "isprint", "isgraph", "iscntrl", "isascii"})
    EXPECT_EQ(Call(name, {""}), "1") << name;
  EXPECT_NE(Call("sqrt", {"-1"}).find("nan"), std::string::npos);
  EXPECT_EQ(Call("power", {"1e300", "1"}).size(), 301u);
  EXPECT_EQ(Call("rnd", {"1e300", "2"}).size(), 304u);
  EXPECT_EQ(Call("rnd", {"1", "2147483647"}).substr(0, 4), "1.00");
}

TEST_F(BuiltinsTest, RandomStaysWithinItsBounds) {
  std::set<std::string> seen;
  for (int i = 0; i < 400; i++) seen.insert(Call("random", {"2"}));
  EXPECT_EQ(seen, (std::set<std::string>{"0", "1", "2"}));
  long big = atol(Call("random", {"2147483647"}).c_str());
  EXPECT_TRUE(big >= 0 && big <= 2147483647L) << big;
}

// mktime_t reads its fields as UTC whatever the host's zone; timezone gives
// that zone in hours east of UTC. (CallBuiltin's count check also proves
// timezone and makesessionid declare no parameters.)
TEST_F(BuiltinsTest, MktimeReadsUTCAndTimezoneGivesHoursEast) {
  ScopedTimeZone zone("UTC");
  for (auto [tz, hours] : {std::pair<const char*, const char*>{"UTC", "0"}, {"EST5", "-5"}, {"XYZ-5:30", "5"}}) {
    zone.Set(tz);
    EXPECT_EQ(Call("timezone", {}), hours) << tz;
    EXPECT_EQ(Call("mktime_t", {"2000", "3", "3", "9", "5", "7", "0"}), "952074307") << tz;
    EXPECT_EQ(Call("mktime_t", {"2000", "13", "1", "0", "0", "0", "1"}), "978303600") << tz;
  }
  zone.Set("UTC");
  EXPECT_EQ(Call("mktime_t", {"", "", "", "", "", "", ""}), "-62169984000");
  // Extreme numbers only have to come back as some number.
  EXPECT_FALSE(Call("mktime_t", {"-2147483648", "2147483647", "2147483647", "-2147483648", "2147483647",
                                 "-2147483648", "-2147483648"})
                   .empty());
}

TEST_F(BuiltinsTest, SessionIdLanguagesAndVariableListsByScope) {
  std::string id = Call("makesessionid", {});
  ASSERT_EQ(id.size(), 32u);
  EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos);
  EXPECT_EQ(id.substr(24), "00000000");
  EXPECT_EQ(Call("sorn_setlanguage", {"fr"}) + Call("sorn_setdefaultlanguage", {"de"}), "");
  EXPECT_STREQ(host_.language().chars(), "fr");
  EXPECT_STREQ(host_.defaultlanguage().chars(), "de");

  host_.vars()->SetVariable("b", "1");
  host_.vars()->SetVariable("A", "1");
  host_.vars()->AddSystemVariable("sysvar", "1");
  for (auto [scope, list] :
       {std::pair<const char*, const char*>{"G", "A,B"}, {"local", "A,B"}, {"globals", ""}, {"", ""}})
    EXPECT_EQ(Call("sorn_getvarlist", {scope}), list) << scope;
  EXPECT_NE(("," + Call("sorn_getvarlist", {"system"}) + ",").find(",sysvar,"), std::string::npos);
  VariableTree frame(1);
  frame.SetVariable("z", "1");
  host_.vars()->PushLocalVars(&frame);
  EXPECT_EQ(Call("sorn_getvarlist", {"l"}), "z");
  host_.vars()->PopLocalVars();
}

}  // namespace
