#include <gtest/gtest.h>

#include <string>

#include "tests/script/RunScript.h"

// Every prefix of these scripts ends the scan cleanly, whatever state the
// scanner is in at the cut (the sanitizer build checks the reads).
TEST(Parser, EveryTruncationEndsCleanly) {
  const char* scripts[] = {
      "a<SnEVAL EXPR=\"{ 'x' $ f(1, 2) }\" NAME=v>b\\<c\n",
      "<B HREF=\"x>y\" \n CLASS=z>t</B><!-- c -- > - -->\r\n<## c ##>",
      "<SnCOMMENT> <SnIF> </SnCOMMENT><SnIF EXPR=\"{ 0 }\">x<SnELSE>y</SnIF>",
      "<SnWHILE EXPR=\"{ 0 }\"><SnIF EXPR=\"{ 1 }\"></SnIF></SnWHILE>&[v];&amp;[v:entities]",
      "<SnFUNCTION NAME=\"f\" PARAMETERS=\"a, b\"><SnFUNCRETURN VALUE=\"{ a }\"></SnFUNCTION>",
  };
  for (const char* script : scripts) {
    std::string text(script);
    for (size_t n = 0; n <= text.size(); n++) RunScript(text.substr(0, n));
  }
}

TEST(Parser, EndOfFileMessagesNameWhereTheScanStood) {
  const char* cases[][2] = {
      {"x\n<SnEV", "t.sn: Line 2: Syntax Error: Unexpected end of file in tag"},
      {"<SnEVAL EXPR", "Syntax Error: Unexpected end of file in &lt;SnEVAL&gt;"},
      {"<B CLASS=\"x>", "Unexpected end of file while looking for '&gt;'"},
      {"<## a > b", "Unexpected end of file while looking for '##&gt;'"},
      {"<!-- a - > -", "Unexpected end of file while looking for '--&gt;'"},
      {"<SnCOMMENT> <snComment>", "Unexpected end of file while looking for '&lt;/SnCOMMENT&gt;'"},
      {"<SnIF EXPR=\"{ 0 }\">\nnever", "t.sn: Line 2: Syntax Error: Unexpected end of file looking for &lt;/SnIF&gt;"},
      {"<SnEVAL EXPR=\"{ 'open", "Expression Error: Found end of file in quoted string"},
  };
  for (const auto& c : cases) EXPECT_NE(RunScript(c[0]).find(c[1]), std::string::npos) << c[0];
}

TEST(Parser, TextCommentsAndUnknownTagsComeOutAsWritten) {
  std::string page = RunScript("a<## gone ##>b<!-- <SnEVAL EXPR=\"{ 1 }\"> -->\r\n<A HREF=\"x>y\">\\<SnEVAL x>\n");
  EXPECT_EQ(page, "ab<!-- <SnEVAL EXPR=\"{ 1 }\"> -->\r\n<A HREF=\"x>y\">\\<SnEVAL x>\n");
  EXPECT_EQ(RunScript("<SnCOMMENT>x<SnIF></snCOMMENT>y"), "y");
  EXPECT_EQ(RunScript("<##>z"), "z");
  EXPECT_EQ(RunScript("<!-->w"), "<!-->w");
  EXPECT_EQ(RunScript("< SnEVAL EXPR = \"{ 1 + 1 }\" >"), "2");
}

TEST(Parser, BlockSizeDoesNotChangeThePage) {
  std::string script =
      "<SnASSIGN NAME=\"i\" VALUE=\"0\"><SnWHILE EXPR=\"{ i LT 3 }\"><SnASSIGN NAME=\"i\" "
      "VALUE=\"{ i + 1 }\">[<SnEVAL EXPR=\"{ i }\">]</SnWHILE>\n<B>end</B>";
  std::string expected = RunScript(script, 8192);
  EXPECT_EQ(expected, "[1][2][3]\n<B>end</B>");
  for (int size : {1, 2, 3, 7, 16}) EXPECT_EQ(RunScript(script, size), expected) << size;
}
