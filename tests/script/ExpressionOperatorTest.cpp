#include "script/ExpressionOperator.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "host/CGISorn.h"

namespace {

struct Case {
  const char* left;
  const char* op;
  const char* right;
  const char* expect;
};

// Runs one operator by name; it must succeed.
String Op(const char* left, const char* name, const char* right = "") {
  String result, error;
  int opcode = ExpressionOperator::Find(String(name))->opcode;
  EXPECT_EQ(ExpressionOperator::Operate(opcode, nullptr, left, right, result, error), 1) << error.chars();
  return result;
}

// Runs one operator, which must fail and leave the result alone; returns the message.
String Failure(const char* left, const char* name, const char* right) {
  String result("kept"), error;
  int opcode = ExpressionOperator::Find(String(name))->opcode;
  EXPECT_EQ(ExpressionOperator::Operate(opcode, nullptr, left, right, result, error), 0);
  EXPECT_STREQ(result, "kept");
  return error;
}

// The reference: "%f", then trailing zeros and a trailing point cut off.
String Reference(double value) {
  char buffer[400];
  snprintf(buffer, sizeof buffer, "%f", value);
  char* last = buffer + strlen(buffer) - 1;
  while (*last == '0') last--;
  if (*last == '.') last--;
  return String(buffer, (int)(last - buffer + 1));
}

class SaltEcho : public CGISorn {
 public:
  SaltEcho() : CGISorn(0, nullptr) {}
  String Crypt(const String& text, const String& salt) override { return text + "/" + salt; }
};

}  // namespace

TEST(ExpressionOperator, TableIsFoundByWholeNameInAnyCase) {
  EXPECT_EQ(ExpressionOperator::Find("and", 3)->opcode, OpAnd);
  EXPECT_EQ(ExpressionOperator::Find(String("SubStr"))->opcode, OpSubstring);
  EXPECT_EQ(ExpressionOperator::Find("ANDX", 4), nullptr);
  EXPECT_EQ(ExpressionOperator::Find("", 0), nullptr);
  // Levels: logic < comparison < additive < multiplicative < named < NOT.
  const char* ladder[] = {"OR", "EQ", "$", "MOD", "POW", "NOT"};
  for (int i = 1; i < 6; i++)
    EXPECT_LT(ExpressionOperator::Find(String(ladder[i - 1]))->precedence,
              ExpressionOperator::Find(String(ladder[i]))->precedence);
  EXPECT_EQ(ExpressionOperator::Find("BITOC", 5)->needsLeft, 0);

  String result("same"), error, text("( ");
  EXPECT_EQ(ExpressionOperator::Operate(OpNone, nullptr, "1", "2", result, error), 1);
  EXPECT_STREQ(result, "same");
  ExpressionOperator(ExpressionOperator::Find("ecin", 4)).Tokenize(text);
  EXPECT_STREQ(text, "( ECIN");
}

// Operands are text read as numbers; results are trimmed text.
TEST(ExpressionOperator, OperatorsOverText) {
  const Case cases[] = {
      {"1", "+", "1", "2"},          {"100", "*", "10", "1000"},     {"0.1", "+", "0.2", "0.3"},
      {"1", "/", "3", "0.333333"},   {"2", "/", "3", "0.666667"},    {"1", "/", "3000000", "0"},
      {"-7", "/", "2", "-3.5"},      {"abc", "+", "1", "1"},         {"", "+", "", "0"},
      {"3abc", "*", "2", "6"},       {" 4", "+", "1", "5"},          {"0", "*", "-1", "-0"},
      {"1e308", "*", "10", "inf"},   {"2", "POW", "70", "1180591620717411303424"},
      // Integer operators work on 32-bit values.
      {"7", "MOD", "-2", "1"},         {"-7", "MOD", "2", "-1"},      {"7.9", "MOD", "2.9", "1"},
      {"-2147483648", "MOD", "-1", "0"}, {"12", "BITAND", "10", "8"}, {"12", "BITOR", "10", "14"},
      {"12", "BITXOR", "10", "6"},     {"4294967297", "BITAND", "3", "1"}, {"5", "BITOC", "", "-6"},
      {"1", "BITSL", "31", "-2147483648"}, {"1", "BITSL", "33", "2"}, {"1", "BITSL", "-1", "-2147483648"},
      {"-16", "BITSR", "2", "-4"},     {"-1", "BITSR", "31", "-1"},  {"256", "BITSR", "36", "16"},
      {"x", "AND", "2", "1"}, {"x", "AND", "0.0", "0"}, {"", "OR", "00", "0"},
      {"", "OR", "no", "1"},  {"-0", "NOT", "", "0"},   {".", "NOT", "", "1"},
      // Comparison is numeric only for whole numbers; search is by bytes.
      {"", "EQ", "0", "1"},      {"1.0", "EQ", "1", "1"},    {"1e3", "EQ", "1000", "1"},
      {" 1", "EQ", "1", "1"},    {"1 ", "EQ", "1", "0"},     {"abc", "NE", "ABC", "1"},
      {"10", "LT", "9", "0"},    {"10", "LT", "9a", "1"},    {"abc", "GT", "5", "1"},
      {"B", "LT", "a", "1"},     {"ab", "GE", "abc", "0"},   {"\xe9", "GT", "a", "1"},
      {"-1", "LE", "-1.0", "1"},
      // Positions of IN and CIN from 1, ends of EIN and ECIN from 0.
      {"b", "IN", "abc", "2"},    {"x", "IN", "abc", "0"},     {"B", "IN", "abc", "0"},
      {"", "IN", "", "1"},        {"abcd", "IN", "abc", "0"},  {"CD", "CIN", "abcd", "3"},
      {"bc", "EIN", "abcd", "3"}, {"x", "EIN", "abc", "0"},    {"", "EIN", "abc", "0"},
      {"bc", "ECIN", "ABCD", "3"}, {"BC", "EIN", "abcd", "0"},
      // ROUND keeps its zeros and rounds like printf.
      {"2.567", "ROUND", "2", "2.57"},  {"2", "ROUND", "2", "2.00"},       {"0.05", "ROUND", "3", "0.050"},
      {"2.5", "ROUND", "0", "2"},       {"3.5", "ROUND", "0", "4"},        {"-1.25", "ROUND", "1", "-1.2"},
      {"5", "ROUND", "-1", "5.000000"}, {"abc", "ROUND", "1", "0.0"},      {"2.567", "ROUND", "1.9x", "2.6"},
      // SUBSTR by start (from 1) and count, with odd and out-of-range numbers.
      {"abcdef", "SUBSTR", "2,3", "bcd"}, {"abcdef", "SUBSTR", "0,3", "abc"}, {"abcdef", "SUBSTR", "7,2", ""},
      {"abcdef", "SUBSTR", "5,10", "ef"}, {"abcdef", "SUBSTR", "2", ""}, {"abcdef", "SUBSTR", "x,2", ""},
      {"abcdef", "SUBSTR", "3,0", ""}, {"abcdef", "SUBSTR", "2 ,3", ""}, {"abcdef", "SUBSTR", " 2, 3", "bcd"},
      {"abcdef", "SUBSTR", "-1,3", "ab"}, {"abcdef", "SUBSTR", "2,-1", ""}, {"abcdef", "SUBSTR", "+2,+2", "bc"},
      {"abcdef", "SUBSTR", "4294967295,3", "ab"}, {"abcdef", "SUBSTR", "2147483647,2147483647", ""},
  };
  for (const Case& c : cases)
    EXPECT_STREQ(Op(c.left, c.op, c.right), c.expect) << "'" << c.left << "' " << c.op << " '" << c.right << "'";
  // Division by zero fails, also by a zero that only 32 bits make.
  for (const char* zero : {"0", "abc", "-0.0"}) EXPECT_STREQ(Failure("1", "/", zero), "Divide by 0") << zero;
  for (const char* zero : {"0.9", "4294967296"})
    EXPECT_STREQ(Failure("5", "MOD", zero), "Divide by 0") << zero;
  EXPECT_EQ(Op("1e300", "+", "0").length(), 301);
  String large = Op("1e300", "ROUND", "2");
  EXPECT_EQ(large.length(), 304);
  EXPECT_STREQ(large.from(301), ".00");
  EXPECT_EQ(Op("1", "ROUND", "100000").length(), 2 + 1100);
  for (const char* value : {"", "0", "00", "0.00", ".", "0."})
    EXPECT_EQ(Expression::IsTrue(value), 0) << value;
  for (const char* value : {"0.0.0", " 0", "-0", "abc", "false", "..", "0 "})
    EXPECT_EQ(Expression::IsTrue(value), 1) << value;
  // An overflow to infinity is text; so is "inf" when errno already holds
  // ERANGE, since errno is not cleared first.
  EXPECT_EQ(ExpressionOperator::NumberCompare("1e999", "1"), -2);
  errno = 0;
  EXPECT_EQ(ExpressionOperator::NumberCompare("inf", "1"), 1);
  errno = ERANGE;
  EXPECT_EQ(ExpressionOperator::NumberCompare("inf", "1"), -2);
  errno = 0;
}

TEST(ExpressionOperator, RealToTextMatchesPrintfEverywhere) {
  const double fixed[] = {0.5,  2.5e-7, 5e-7,  -5e-7, 123.4565, 1e15 - 0.5, 1e15, -1e16,
                          1e-320, NAN,  -INFINITY, 9.9999995, -0.0000004, 4503599627370497.0};
  for (double value : fixed) {
    String text;
    ExpressionOperator::RealToText(value, text);
    EXPECT_STREQ(text, Reference(value)) << value;
  }
  // Pseudo-random values across many magnitudes, integral and not.
  unsigned long long state = 88172645463325252ull;
  for (int i = 0; i < 20000; i++) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    double value = (double)(state >> 11) / 9007199254740992.0 * pow(10.0, (int)(state % 40) - 20);
    if (i % 3 == 0) value = std::floor(value);
    if (i % 2) value = -value;
    String text;
    ExpressionOperator::RealToText(value, text);
    ASSERT_STREQ(text, Reference(value)) << value;
  }
}

TEST(ExpressionOperator, ResultMayBeAnOperandAndCryptSaltsForTheHost) {
  String a("ab"), b("cd"), x("2"), error;
  EXPECT_EQ(ExpressionOperator::Operate(OpConcatenate, nullptr, a, b, a, error), 1);
  EXPECT_STREQ(a, "abcd");
  EXPECT_EQ(ExpressionOperator::Operate(OpConcatenate, nullptr, a, b, b, error), 1);
  EXPECT_STREQ(b, "abcdcd");
  EXPECT_EQ(ExpressionOperator::Operate(OpConcatenate, nullptr, a, a, a, error), 1);
  EXPECT_STREQ(a, "abcdabcd");
  EXPECT_EQ(ExpressionOperator::Operate(OpAdd, nullptr, x, x, x, error), 1);
  EXPECT_STREQ(x, "4");
  // CRYPT passes a two-character salt to the host.
  SaltEcho host;
  String result;
  EXPECT_EQ(ExpressionOperator::Operate(OpCrypt, &host, "pw", "abcdef", result, error), 1);
  EXPECT_STREQ(result, "pw/ab");
  EXPECT_EQ(ExpressionOperator::Operate(OpCrypt, &host, "pw", "a", result, error), 1);
  EXPECT_STREQ(result, "pw/aa");
  result = "kept";
  EXPECT_EQ(ExpressionOperator::Operate(OpCrypt, &host, "pw", "", result, error), 0);
  EXPECT_STREQ(error, "The CRYPT operator expects a non-empty alphabet");
  EXPECT_STREQ(result, "kept");
}
