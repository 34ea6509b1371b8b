#include <gtest/gtest.h>

#include <string>

#include "core/Sorn.h"

namespace {

std::string Apply(void (*code)(String&), const std::string& text) {
  String s(text.data(), (int)text.size());
  code(s);
  return std::string(s.chars(), s.length());
}

}  // namespace

TEST(Encoding, EncodeAttributeEscapesExactlyTheListedBytes) {
  EXPECT_EQ(Apply(Sorn::EncodeAttribute, "~`!#$%^&()+={}[]|\\:;\"'<>,?/"),
            "%7E%60%21%23%24%25%5E%26%28%29%2B%3D%7B%7D%5B%5D%7C%5C%3A%3B%22%27%3C%3E%2C%3F%2F");
  EXPECT_EQ(Apply(Sorn::EncodeAttribute, "a b@*-_.Az09\t\x01"), "a+b@*-_.Az09\t\x01");
  EXPECT_EQ(Apply(Sorn::EncodeAttribute, "\xC3\xA9\xFF\x80"), "%C3%A9%FF%80");
  EXPECT_EQ(Apply(Sorn::EncodeAttribute, std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(Apply(Sorn::EncodeAttribute, ""), "");
  EXPECT_STREQ(Sorn::HexValue(0xAB), "%AB");
  EXPECT_STREQ(Sorn::HexValue(0), "%00");
}

TEST(Encoding, DecodeAttributeTakesDigitsUncheckedAndStopsAtTheEnd) {
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "a+b%41%4a%4A%c3%A9"), "a bAJJ\xC3\xA9");
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "%2"), "%2");  // no two digits left
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "100%"), "100%");
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "x%4"), "x%4");
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "%414"), "A4");
  // Invalid digits give what the arithmetic gives: '0'-'0' = 0, 'G' = 16.
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "%0G"), "\x10");
  // '%' gives 0x25 - 0x30 = -11; 16 * -11 + 4 is -172, the byte 0x54.
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, "%%41"), "T1");
  std::string all;
  for (int c = 1; c < 256; c++) all += (char)c;
  EXPECT_EQ(Apply(Sorn::DecodeAttribute, Apply(Sorn::EncodeAttribute, all)), all);  // every byte round trip
}

TEST(Encoding, Entities) {
  EXPECT_EQ(Apply(Sorn::EncodeEntities, "<a href=\"x\">'&'</a>"),
            "&lt;a href=&quot;x&quot;&gt;'&amp;'&lt;/a&gt;");
  EXPECT_EQ(Apply(Sorn::DecodeEntities, "&lt;&amp;"), "<&");
  EXPECT_EQ(Apply(Sorn::DecodeEntities, "&QUOT;&Gt;&nbsp;&#65;x"), "\">nbsp#65x");
  EXPECT_EQ(Apply(Sorn::DecodeEntities, "AT&T"), "ATT");  // a final name runs to the end
  EXPECT_EQ(Apply(Sorn::DecodeEntities, "tail&"), "tail");
  EXPECT_EQ(Apply(Sorn::DecodeEntities, "&;"), "");
  EXPECT_EQ(Apply(Sorn::DecodeEntities, std::string("&amp\0x;.", 8)), std::string("amp\0x.", 6));
  std::string text = "a \"quoted\" <b>&amp;</b> 'single'";
  EXPECT_EQ(Apply(Sorn::DecodeEntities, Apply(Sorn::EncodeEntities, text)), text);
}
