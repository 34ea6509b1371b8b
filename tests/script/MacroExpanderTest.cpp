#include "script/MacroExpander.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "../host/TestHost.h"

namespace {

class MacroExpanderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    host_.vars()->SetVariable("x", "Val");
    host_.vars()->SetVariable("v", "a \"b\" & c");
  }

  // A fresh expander, with a tiny block, over a file holding text.
  std::unique_ptr<MacroExpander> Open(const std::string& text, int size) {
    std::string path = host_.directory_ + "/t.sn";
    FILE* f = fopen(path.c_str(), "wb");
    if (f != nullptr) fwrite(text.data(), 1, text.size(), f), fclose(f);
    std::unique_ptr<MacroExpander> m(new MacroExpander(&host_, size));
    EXPECT_TRUE(m->Open(path.c_str(), "t.sn"));
    return m;
  }
  static std::string ReadAll(MacroExpander& m) {
    std::string out;
    for (int c = m.GetNextChar(); c >= 0; c = m.GetNextChar()) out += (char)c;
    return out;
  }
  // The expansion of text, which must be the same at block sizes 1 to 9.
  std::string Expand(const std::string& text) {
    std::string first = ReadAll(*Open(text, 1));
    for (int size = 2; size <= 9; size++) EXPECT_EQ(ReadAll(*Open(text, size)), first) << size << ": " << text;
    return first;
  }

  TestHost host_;
};

}  // namespace

TEST_F(MacroExpanderTest, Forms) {
  host_.vars()->SetVariable("y", "&[x];");
  EXPECT_EQ(Expand("[&[x];] [&[x]] [&amp;[x];] [&amp;[x]] [&AMP;[x];] [&[ x ];] [&[\tX\t]]"),
            "[Val] [Val] [Val] [Val] [Val] [Val] [Val]");
  EXPECT_EQ(Expand("[&[x]y] [&[x];;] [&[x]&[g.x];] [&[y]]"), "[Valy] [Val;] [ValVal] [&[x];]");
  EXPECT_EQ(Expand("[&[nosuch];] [&[ ];] [&[];] [&[x:none]"), "[] [] [] [Val");
  EXPECT_EQ(Expand("&[x]"), "Val");
  // An '&' that starts no macro, with whatever was looked at behind it.
  EXPECT_EQ(Expand("a & b AT&T &amp; &lt;t&gt; &nbsp;&copy;"), "a & b AT&T &amp; &lt;t&gt; &nbsp;&copy;");
  EXPECT_EQ(Expand("&&[x]; &amp&[x]; &amp;amp;[x]; &amp;x"), "&Val &ampVal &amp;amp;[x]; &amp;x");
  EXPECT_EQ(Expand("tail &"), "tail &");
  EXPECT_EQ(Expand("&amp;"), "&amp;");
  // Without ']' the rest of the file is gone.
  EXPECT_EQ(Expand("before &[x]; [&[never closed\n<SnEVAL EXPR=\"{ 1 }\">"), "before Val [");
  EXPECT_EQ(Expand("&amp;[x"), "");
  std::unique_ptr<MacroExpander> m = Open("&[x];&amp;[x];", 4);
  m->SetExpandMacros(0);
  EXPECT_EQ(ReadAll(*m), "&[x];&amp;[x];");
  // Line ends inside a value are marked as the macro's, not the file's.
  host_.vars()->SetVariable("lines", "1\n2\n");
  m = Open("&[lines];\n", 2);
  int counted = 0;
  for (int c = m->GetNextChar(); c >= 0; c = m->GetNextChar()) counted += c == '\n' && !m->inmacro();
  EXPECT_EQ(counted, 1);
}

TEST_F(MacroExpanderTest, Encodings) {
  EXPECT_EQ(Expand("&[v:attribute]|&[v:ENTITIES]|&[v:none]|&[v:bogus]|&[v]"),
            "a+%22b%22+%26+c|a &quot;b&quot; &amp; c|a \"b\" & c|a \"b\" & c|a \"b\" & c");
  host_.SetDefaultMacroEncoding(MacroEncodingEntities);
  EXPECT_EQ(Expand("&[v]|&[v:bogus]|&[v:]|&[v:Attribute]|&[v:none]"),
            "a &quot;b&quot; &amp; c|a &quot;b&quot; &amp; c|a &quot;b&quot; &amp; c|a+%22b%22+%26+c|a \"b\" & c");
}

TEST_F(MacroExpanderTest, UnGetCharAroundAValue) {
  for (int size : {1, 3, 4, 8}) {
    SCOPED_TRACE(size);
    std::unique_ptr<MacroExpander> m = Open("ab&[x];cd", size);
    std::string seen;
    // Each character read, put back and read again; 'l' and 'c' lie right
    // behind the value's last character and the macro.
    for (int i = 0; i < 6; i++) {
      seen += (char)m->GetNextChar();
      seen += m->inmacro() ? '+' : '-';
      m->UnGetChar();
      seen += (char)m->GetNextChar();
    }
    EXPECT_EQ(seen, "a-ab-bV+Va+al+lc-c");

    // Back over the first character puts the whole macro back; it is then
    // expanded anew, with the value of that time.
    m = Open("ab&amp;[x];cd", size);
    for (int i = 0; i < 3; i++) m->GetNextChar();
    m->UnGetChar();
    EXPECT_FALSE(m->inmacro());
    EXPECT_EQ(m->CurrentFilePosition(), 2);
    host_.vars()->SetVariable("x", "New");
    EXPECT_EQ(ReadAll(*m), "Newcd");
    host_.vars()->SetVariable("x", "Val");
  }
}

TEST_F(MacroExpanderTest, PositionsAndSeekAroundAReplay) {
  for (int size : {1, 4, 5, 64}) {
    SCOPED_TRACE(size);
    std::unique_ptr<MacroExpander> m = Open("ab &[x]y z", size);  // the macro: 3 to 6
    for (int i = 0; i < 3; i++) m->GetNextChar();
    EXPECT_EQ(m->GetNextChar(), 'V');
    EXPECT_EQ(m->CurrentFilePosition(), 3);  // inside the value: the macro's start
    EXPECT_EQ(m->GetNextChar(), 'a');
    EXPECT_EQ(m->GetNextChar(), 'l');
    EXPECT_EQ(m->CurrentFilePosition(), 7);  // all of it read: behind the macro
    EXPECT_EQ(m->GetNextChar(), 'y');
    EXPECT_EQ(m->CurrentFilePosition(), 8);

    host_.vars()->SetVariable("x", "Two");
    EXPECT_TRUE(m->Seek(3));
    EXPECT_EQ(ReadAll(*m), "Twoy z");
    // A seek in the middle of a value lets the rest of the value come first.
    m->Seek(0);
    for (int i = 0; i < 4; i++) m->GetNextChar();
    m->Seek(0);
    EXPECT_EQ(ReadAll(*m), "woab Twoy z");
    host_.vars()->SetVariable("x", "Val");
  }
}
