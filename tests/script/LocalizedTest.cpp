#include <gtest/gtest.h>

#include <string>

#include "script/LocalizedStates.h"
#include "tests/script/RunScript.h"

namespace {

std::string RunIn(const char* language, const char* fallback, const std::string& script, int blocksize = 5) {
  TestHost host;
  host.SetLanguage(language);
  host.SetDefaultLanguage(fallback);
  return RunScript(host, script, blocksize);
}

const char kBlock[] =
    "<SnLOCALIZED><SnLOCALIZED-TOKEN NAME=\"n\" VALUE=\"3\">(<SnLOCALIZED-TEXT LANGUAGE=\"en-US\">%n% items"
    "</SnLOCALIZED-TEXT>|<SnLOCALIZED-TEXT LANGUAGE=\"DE\">%N% Dinge</SnLOCALIZED-TEXT>)</SnLOCALIZED>.";

}  // namespace

// The variant of the request's language is printed in place; without one
// the default variant is printed on the way back from the closing tag, and
// the rest of the block is read again. Seeking back works across blocks.
TEST(Localized, VariantOfTheLanguageOrOfTheDefault) {
  for (int size : {1, 4, 8192}) {
    EXPECT_EQ(RunIn("de", "en-US", kBlock, size), "(|3 Dinge).") << size;
    EXPECT_EQ(RunIn("en-us", "de", kBlock, size), "(3 items|).") << size;
    EXPECT_EQ(RunIn("fr", "de", kBlock, size), "(|)3 Dinge).") << size;
    EXPECT_EQ(RunIn("fr", "es", kBlock, size), "(|).") << size;
  }
  // Only the first variant of the default language is noted; every variant
  // of the request's language is taken.
  std::string twice =
      "<SnLOCALIZED><SnLOCALIZED-TEXT LANGUAGE=\"en\">a</SnLOCALIZED-TEXT><SnLOCALIZED-TEXT LANGUAGE=\"en\">b"
      "</SnLOCALIZED-TEXT></SnLOCALIZED>";
  EXPECT_EQ(RunIn("fr", "en", twice), "a");
  EXPECT_EQ(RunIn("en", "fr", twice), "ab");
}

TEST(Localized, TokensInTheText) {
  VariableTree tokens(1);
  tokens.SetVariable("who", "%who%");
  tokens.SetVariable("x", "1");
  EXPECT_EQ(std::string(LocalizedTextState::ReplaceTokens("%WHO%|%%x%%|%x%%x%|%none%.|%x", &tokens).chars()),
            "%who%|%x%|11|.|1");
  EXPECT_EQ(std::string(LocalizedTextState::ReplaceTokens("%", &tokens).chars()), "");
  EXPECT_EQ(std::string(LocalizedTextState::ReplaceTokens("50%%", &tokens).chars()), "50%");
}

// A named block captures its text (white space and line ends compressed
// unless the block gives a level); the levels it set end with the block.
TEST(Localized, CaptureAndLevelsEndWithTheBlock) {
  TestHost host;
  std::string page = RunScript(host,
                               "<SnLOCALIZED NAME=\"v\"><SnLOCALIZED-TEXT LANGUAGE=\"en-US\"> a  \n\n  b "
                               "</SnLOCALIZED-TEXT></SnLOCALIZED>\n  x  y\n"
                               "<SnLOCALIZED STANDARDOUTPUTLEVEL=\"\">hidden</SnLOCALIZED>shown");
  EXPECT_EQ(page, "\n  x  y\nshown");
  EXPECT_EQ(host.value("v"), " a b ");
  // SnEXIT inside a captured variant still stores what was captured.
  TestHost exiting;
  page = RunScript(exiting, "<SnLOCALIZED NAME=\"v\" STANDARDOUTPUTLEVEL=\"text\">"
                            "<SnLOCALIZED-TEXT LANGUAGE=\"en-US\">kept<SnEXIT>lost");
  EXPECT_EQ(page, "");
  EXPECT_EQ(exiting.value("v"), "kept");
}

TEST(Localized, OnlyTokensAndVariantsInABlock) {
  EXPECT_EQ(RunScript("<SnLOCALIZED>a<SnEVAL EXPR=\"{ 1 }\">"),
            "at.sn: Line 1: Syntax Error: Unexpected &lt;SnEVAL&gt;\r\n");
  EXPECT_EQ(RunScript("<SnLOCALIZED-TEXT LANGUAGE=\"en-US\">"),
            "t.sn: Line 1: Syntax Error: Unexpected &lt;SnLOCALIZED-TEXT&gt;\r\n");
  EXPECT_EQ(RunScript("<SnLOCALIZED><SnLOCALIZED-TEXT LANGUAGE=\"en-US\"></SnLOCALIZED>"),
            "t.sn: Line 1: Syntax Error: Unexpected &lt;/SnLOCALIZED&gt;\r\n");
  EXPECT_EQ(RunScript("<SnLOCALIZED><SnLOCALIZED-TEXT LANGUAGE=\"de\">\nnever closed"),
            "t.sn: Line 2: Syntax Error: Unexpected end of file looking for &lt;/SnLOCALIZED-TEXT&gt;\r\n");
}
