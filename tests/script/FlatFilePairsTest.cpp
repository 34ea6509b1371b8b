#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "core/Buffer.h"
#include "script/TagIds.h"
#include "tests/script/RunScript.h"

namespace {

// Writes each older IMPORT or EXPORT tag it meets as its attributes, and,
// after a WHERE, the script text from the kept position to the '>'.
class PairsParser : public ScriptParser {
 public:
  using ScriptParser::ScriptParser;
  int ProcessKnownTag(Tag* tag) override {
    if (tag->id() != TagIMPORT && tag->id() != TagEXPORT) return ScriptParser::ProcessKnownTag(tag);
    seen += *tag + ":";
    NameValueList& pairs = tag->attributes();
    for (NameValuePair* p = pairs.First(); p != nullptr; p = pairs.Next())
      seen += std::string(" ") + p->name.chars() + "=[" + p->value.chars() + "]";
    if (tag->Find("WHERE") != nullptr) {
      long resume = buffer()->CurrentFilePosition();
      buffer()->Seek(tag->fileposition());
      seen += " where{";
      for (int c = buffer()->GetNextChar(); c != -1 && c != '>'; c = buffer()->GetNextChar()) seen += (char)c;
      seen += "}@" + std::to_string(tag->line());
      buffer()->Seek(resume);
    }
    seen += "\n";
    return ScanDone;
  }
  std::string seen;
};

std::string Pairs(const std::string& script) {
  TestHost host;
  std::string path = host.directory_ + "/t.sn";
  FILE* f = fopen(path.c_str(), "w");
  fwrite(script.data(), 1, script.size(), f);
  fclose(f);
  MacroExpander expander(&host, 3);
  expander.Open(path.c_str(), "t.sn");
  PairsParser parser(&host, &expander);
  parser.Parse();
  unlink(path.c_str());
  return parser.seen + host.text();
}

}  // namespace

TEST(FlatFilePairs, BareNamesValuesLiteralOrderAndWhere) {
  EXPECT_EQ(Pairs("<IMPORT FILE=\"a.txt\" DATA DELIMITER = \";\"\n ORDER=\"x, y\" ignored>"),
            "IMPORT: FILE=[a.txt] DATA=[DATA] DELIMITER=[;] ORDER=[x, y]\n");
  EXPECT_EQ(Pairs("<EXPORT DATA ORDER=x,{y}>rest"), "EXPORT: DATA=[DATA] ORDER=[x,{y}]\nrest");
  EXPECT_EQ(Pairs("<EXPORT STOP><IMPORT\tDATA\n>"), "EXPORT: STOP=[STOP]\nIMPORT: DATA=[DATA]\n");
  // WHERE ends the tag: its expression stays in the script, to be read for
  // each record from the position the tag keeps.
  EXPECT_EQ(Pairs("\n<IMPORT DATA where age GT \"a>b\" FILE=x>after"),
            "IMPORT: DATA=[DATA] where=[] where{ age GT \"a}@2\n\nafter");
}

TEST(FlatFilePairs, EndOfFileInsideTheTag) {
  EXPECT_NE(Pairs("<IMPORT DATA").find("Unexpected end of file in &lt;IMPORT&gt;"), std::string::npos);
  EXPECT_NE(Pairs("<EXPORT FILE=").find("Unexpected end of file"), std::string::npos);
  EXPECT_NE(Pairs("<IMPORT WHERE a \"b>").find("Unexpected end of file while looking for '&gt;'"),
            std::string::npos);
}
