#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "script/Expression.h"
#include "script/Function.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "tests/host/TestHost.h"

namespace {

// Reads one attribute-style expression (text up to '>') from a script file.
class ExpressionFixture : public ::testing::Test {
 protected:
  void Load(const std::string& text) {
    std::string path = host.directory_ + "/t.sn";
    FILE* f = fopen(path.c_str(), "w");
    fputs(text.c_str(), f);
    fclose(f);
    expander.reset(new MacroExpander(&host, 8));
    ASSERT_TRUE(expander->Open(path.c_str(), "t.sn"));
    parser.reset(new ScriptParser(&host, expander.get()));
  }
  std::string Tokenized(const std::string& text) {
    Load(text);
    Expression e(parser.get());
    if (!e.GetNextExpression(' ', '>', '"', 1)) return "error: " + host.text();
    String out;
    e.Tokenize(out);
    return out.chars();
  }

  TestHost host;
  std::unique_ptr<MacroExpander> expander;
  std::unique_ptr<ScriptParser> parser;
};

}  // namespace

TEST_F(ExpressionFixture, PrecedenceClimbsOneStepOnly) {
  EXPECT_EQ(Tokenized("\"{ a + b * c }\">"), "( ( a ) + ( ( b ) * ( c ) ) )");
  // After a chain of rising precedences a low operator attaches below the top.
  EXPECT_EQ(Tokenized("\"{ a OR b EQ c + d * e AND f }\">"),
            "( ( a ) OR ( ( b ) EQ ( ( ( c ) + ( ( d ) * ( e ) ) ) AND ( f ) ) ) )");
  // A parenthesis node takes the operator that arrives inside it.
  EXPECT_EQ(Tokenized("\"{ (a + b) * c }\">"), "( ( ( a ) + ( b ) ) * ( c ) )");
}

// Reading the tokenized text back adds a node for every parenthesis, so the
// text is not reproduced, but the value is, and so is the text read again.
TEST_F(ExpressionFixture, TokenizedFormReadsBackToTheSameValue) {
  host.vars()->SetVariable("a", "6");
  const char* sources[] = {
      "\"{ a * (2 + 3) $ 'x y' }\">",
      "\"{ 'it\\'s' $ -5 $ NOT 0 }\">",
      "\"text with blanks\">",
      "\"{ substr_free(a, , 'q') }\">",
  };
  host.vars()->SetVariable("q", "");
  for (const char* source : sources) {
    Load(source);
    Function* f = new BuiltinFunction("substr_free", "x, y, z", [](Sorn*, VariableTree* p, String& r) {
      r = p->Find("x")->value() + "|" + p->Find("y")->value() + "|" + p->Find("z")->value();
    });
    parser->AddFunction(f);
    Expression first(parser.get());
    ASSERT_TRUE(first.GetNextExpression(' ', '>', '"', 1)) << source << host.text();
    String tokenized, value;
    first.Tokenize(tokenized);
    ASSERT_TRUE(first.Resolve(value)) << source;

    Expression second(parser.get());
    ASSERT_EQ(second.ReadTokenized(tokenized, nullptr, ' ', '\0'), 1) << tokenized.chars();
    String again, value2;
    second.Tokenize(again);
    ASSERT_TRUE(second.Resolve(value2));
    EXPECT_STREQ(value2, value) << source;

    Expression third(parser.get());
    ASSERT_EQ(third.ReadTokenized(again, nullptr, ' ', '\0'), 1) << again.chars();
    String value3;
    ASSERT_TRUE(third.Resolve(value3));
    EXPECT_STREQ(value3, value) << source;
  }
}

TEST_F(ExpressionFixture, HostileTokenizedTextFailsCleanly) {
  Load("x");
  const char* inputs[] = {")", "( ( a )", "f( ( 1 )", "\"unterminated", "( ) ) (", "\\", "nosuch( )"};
  for (const char* input : inputs) {
    Expression e(parser.get());
    int position = 0;
    int status = e.ReadTokenized(input, &position, ' ', '\0');
    String value;
    if (status == 1) e.Resolve(value);
    EXPECT_LE(position, (int)strlen(input)) << input;
  }
}
