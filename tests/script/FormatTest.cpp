#include "script/Format.h"

#include <gtest/gtest.h>

#include <cstring>

#include "script/ExpressionOperator.h"

namespace {

// value FMT pattern, which must succeed.
String Fmt(const String& value, const char* pattern) {
  String result("unset"), error;
  EXPECT_EQ(ExpressionOperator::Fmt(result, value, pattern, error), 1)
      << value.chars() << " FMT " << pattern << ": " << error.chars();
  return result;
}

// value FMT pattern, which must fail; returns the message.
String FmtError(const String& value, const char* pattern) {
  String result("kept"), error;
  EXPECT_EQ(ExpressionOperator::Fmt(result, value, pattern, error), 0);
  EXPECT_STREQ(result, "kept");
  return error;
}

String Repeat(char c, int n) {
  String s;
  for (int i = 0; i < n; i++) s.cat(c);
  return s;
}

}  // namespace

TEST(Format, PatternElements) {
  const char* cases[][3] = {
      // Grouping from the right of each digit run, switched off by - and |.
      {"1234567", "3+,*#", "1,234,567"},     {"12", "3+,*#", "12"},
      {"1234.5678", "3+,*#.*#", "1,234.5,678"}, {"1234.5678", "3+,*#.3-,*#", "1,234.5678"},
      {"1234.5678", "3+,*#.|*#", "1,234.5678"}, {"12345", "2+ *#", "1 23 45"},
      // One interval's characters are stacked in list order, so come out
      // reversed; a removed one leaves the others. Intervals 0 and * do nothing.
      {"1234", "3+,3+.*#", "1.,234"},        {"1234", "3+,3+.3-,*#", "1.234"},
      {"1234", "0+,*+,*#", "1234"},
      // Literals; those left when the input ends are ignored.
      {"5551234567", "&40;3#&41;&32;3#&45;4#", "(555) 123-4567"},
      {"42", "3&42;*#", "***42"},            {"555", "&40;3#&41;", "(555"},
      {"", "&45;", ""},                      {"12", "1#&;1#", "12"},
      {"1", "&321;1#", "A1"},                {"1", "&45", ""},
      // Classes, counts, negation.
      {"a-b", "*A", "A"},                    {"hello world", "A*a.A*a", "Hello World"},
      {"--x", "*S", "--"},                   {"AB12cd", "*[#A]", "AB12"},
      {"ab-1C", "*[#aS]", "ab-1"},           {"x1y2", "!*[#]", "x"},
      {"12ab", "!*#", ""},                   {"(555) 123", "!.3#!.!.3#", "555123"},
      {"abcdef", "2a!2.*.", "abef"},         {"\xe9x", "*S", "\xe9"},
      // P pads with zeros once the digits end; with * it is #.
      {"1.5", "*#.2P", "1.50"},              {"1.567", "*#.2P", "1.56"},
      {"1", "*#.2P", "1"},                   {"12", "4p", "1200"},
      {"1", "2P#", "100"},                   {"123", "*P", "123"},
      {"1234.5", "3+,*#.3P", "1,234.500"},
      // An unknown or unfinished element ends the pattern.
      {"abc", "AZa", "A"},                   {"abc", "Z", ""},
      {"abc", "", ""},                       {"abc", "!", ""},
      {"abc", "3", ""},                      {"1,2", "#+", "1"},
  };
  for (const auto& c : cases) EXPECT_STREQ(Fmt(c[0], c[1]), c[2]) << c[0] << " FMT " << c[1];
  // Endless repetition of a literal stops at the output limit.
  EXPECT_STREQ(Fmt("1", "*&45;"), Repeat('-', Format::kLimit));
}

TEST(Format, DoFmtReturnsAndStartsAfresh) {
  char value[Format::kLimit + 1] = "abc";
  Format format;
  EXPECT_EQ(format.doFmt(value, "Z"), 0);
  EXPECT_STREQ(value, "");
  // A second run on the same object does not inherit the insertions.
  strcpy(value, "1234");
  EXPECT_EQ(format.doFmt(value, "3+,*#"), 1);
  strcpy(value, "1234");
  EXPECT_EQ(format.doFmt(value, "*#"), 1);
  EXPECT_STREQ(value, "1234");
}

TEST(Format, Limits) {
  String longest = Repeat('7', Format::kLimit);
  EXPECT_STREQ(Fmt(longest, "4."), "7777");
  EXPECT_STREQ(FmtError(longest + "x", "4."),
               "The left operand to the FMT operator is limited to 512 characters");

  // The output stops at 512 characters.
  String pattern, dashed;
  for (int i = 0; i < 300; i++) pattern.cat("A&45;");
  for (int i = 0; i < Format::kLimit / 2; i++) dashed.cat("A-");
  EXPECT_STREQ(Fmt(Repeat('a', 300), pattern), dashed);

  // At most 100 digits wait for a non-digit, and a flush holds at most
  // 100 digits and insertions together.
  EXPECT_STREQ(Fmt(Repeat('9', 100), "*#"), Repeat('9', 100));
  EXPECT_STREQ(FmtError(Repeat('9', 101), "*#"), "push to full stack.");
  EXPECT_STREQ(FmtError("1", "200P"), "push to full stack.");
  EXPECT_EQ(Fmt(Repeat('9', 75), "3+,*#").length(), 75 + 24);
  EXPECT_STREQ(FmtError(Repeat('9', 76), "3+,*#"), "push to full stack.");
  String grouped = Repeat('9', 50) + "." + Repeat('9', 50);
  EXPECT_EQ(Fmt(grouped, "3+,*#.*#").length(), 101 + 2 * 16);
}
