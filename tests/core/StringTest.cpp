#include "core/String.h"

#include <gtest/gtest.h>

TEST(String, BeforeAndAfterAreAsymmetricWhenPatternIsMissing) {
  String s("abc");
  EXPECT_STREQ(s.before("x"), "abc");
  EXPECT_STREQ(s.after("x"), "");
  EXPECT_STREQ(s.before("b"), "a");
  EXPECT_STREQ(s.after("b"), "c");
  EXPECT_STREQ(s.before(-1), "");
  EXPECT_STREQ(s.before(9), "abc");
  EXPECT_STREQ(s.after(0), "bc");
  EXPECT_STREQ(s.after(2), "");
  EXPECT_STREQ(s.from("b"), "bc");
  EXPECT_STREQ(s.from("x"), "");
  EXPECT_STREQ(s.at(1, 99), "bc");
  EXPECT_STREQ(s.at(3, 4), "");
}

TEST(String, MatchesIsWholeTextCaseInsensitiveEqualityAndSearchEdges) {
  EXPECT_TRUE(String("abc").matches("ABC"));
  EXPECT_FALSE(String("abcd").matches("abc"));
  EXPECT_FALSE(String("ab").matches("abc"));
  EXPECT_TRUE(String("xabc").matches("ABC", 1));
  EXPECT_TRUE(String("abc").matches("", 3));
  EXPECT_TRUE(String("abc").matches('\0', 3));
  EXPECT_FALSE(String("abc").matches('c', 4));
  EXPECT_EQ(String("").search("a"), -1);
  EXPECT_EQ(String("abc").search(""), -1);
  EXPECT_EQ(String("ab").search("abc"), -1);
  EXPECT_EQ(String("aab").search("ab"), 1);
  EXPECT_EQ(String("abab").search("ab", 1), 2);
  EXPECT_EQ(String("aaa").freq("aa"), 2);
}

TEST(String, AssignReusesStorageAndHandlesItsOwnText) {
  String s("0123456789");
  s = String("abc");
  EXPECT_STREQ(s, "abc");
  EXPECT_EQ(s.capacity(), String::kLocal);  // short texts stay inside the object
  s.cat(s.chars(), 3);  // appending its own text
  EXPECT_STREQ(s, "abcabc");
  for (int i = 0; i < 5; i++) s.cat(s);
  EXPECT_EQ(s.length(), 6 * 32);
  EXPECT_STREQ(s.at(0, 12), "abcabcabcabc");
  s = String();
  EXPECT_STREQ(s, "");
  EXPECT_EQ(s.length(), 0);

  String from("moved text");
  String to(static_cast<String&&>(from));
  EXPECT_STREQ(to, "moved text");
  EXPECT_EQ(from.length(), 0);
  from = static_cast<String&&>(to);
  EXPECT_STREQ(from, "moved text");
  from.cat('!');
  EXPECT_STREQ(from, "moved text!");
}

TEST(String, EmbeddedNulSurvivesAssignAndCat) {
  String s("a\0b", 3);
  s.cat("\0c", 2);
  EXPECT_EQ(s.length(), 5);
  EXPECT_EQ(s[3], '\0');
  EXPECT_EQ(s.at(2, 5).length(), 3);
}

// Whitespace edits, and gsub, which does not rescan its replacement.
TEST(String, WhitespaceAndGsub) {
  String s(" \t a  b\n\n c \r\n"), t("x\t  y"), u("  lead ");
  s.StripWhitespace();
  EXPECT_STREQ(s, "a  b\n\n c");
  s.CompressWhitespace();
  t.CompressWhitespace();
  u.ltrim();
  EXPECT_STREQ(s, "a b\nc");
  EXPECT_STREQ(t, "x\ty");
  EXPECT_STREQ(u, "lead ");
  const char* cases[][4] = {{"aaa", "a", "aa", "aaaaaa"}, {"abcabc", "b", nullptr, "acac"}, {"abc", "x", "y", "abc"}};
  for (const auto& c : cases) {
    String g(c[0]);
    g.gsub(c[1], c[2]);
    EXPECT_STREQ(g, c[3]) << c[0];
  }
}

TEST(String, PaddingAndPrepend) {
  EXPECT_STREQ(String("7").padl(3, '0'), "007");
  EXPECT_STREQ(String("7").padr(3, '.'), "7..");
  EXPECT_STREQ(String("long").padl(2, '0'), "long");
  EXPECT_STREQ(String("").padr(2, '-'), "--");
  String nul = String("a\0b", 3).padl(5, 'x');
  ASSERT_EQ(nul.length(), 5);
  EXPECT_EQ(memcmp(nul.chars(), "xxa\0b", 6), 0);
  // A wide pad is one allocation, not one per character.
  String wide = String("x").padr(1 << 22, '.');
  EXPECT_EQ(wide.length(), 1 << 22);
  EXPECT_EQ(wide[(1 << 22) - 1], '.');
  String s("bc");
  s.prepend('a');
  s.prepend("__");
  EXPECT_STREQ(s, "__abc");
  EXPECT_STREQ('x' + String("yz"), "xyz");
}

TEST(Split, TrailingSeparatorAndMaximum) {
  String pieces[4];
  ASSERT_EQ(split("a,b,", pieces, 4, ","), 2);
  EXPECT_STREQ(pieces[0], "a");
  EXPECT_STREQ(pieces[1], "b");
  ASSERT_EQ(split(",a", pieces, 4, ","), 2);
  EXPECT_STREQ(pieces[0], "");
  EXPECT_STREQ(pieces[1], "a");
  ASSERT_EQ(split("a,,b,c", pieces, 2, ","), 2);
  EXPECT_STREQ(pieces[1], "");
  ASSERT_EQ(split("abc", pieces, 4, ""), 1);
  EXPECT_EQ(split("abc", pieces, 0, ""), 0);
}
