#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "ext/UNIXCommerceHandler.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "tests/host/ScratchDir.h"
#include "tests/host/TestHost.h"

namespace {

// Each entry point notes its call in the file named by the TRACE field;
// the action picks the answers: "fail" (init answers 1), "none" (init
// answers 2), or "rowsN" (N results, then 1 when N ends in "!").
const char* kLibrary = R"(
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include "sorn_extension.h"
static void note(SornList *f, const char *what, int n) {
  FILE *out = fopen(sorn_variable_value(sorn_variablelist_find(f, "TRACE")), "a");
  fprintf(out, "%s %d\n", what, n); fclose(out); }
int sorn_commerce_init(SornHandle *h, void **u, const char *m, const char *a, SornList *f, SornTree *t) {
  (void)h; (void)m; (void)t; note(f, *u ? "init-set" : "init", 0); *u = f;
  return strcmp(a, "fail") == 0 ? 1 : strcmp(a, "none") == 0 ? 2 : 0; }
int sorn_commerce_loop(SornHandle *h, void **u, const char *m, const char *a, SornList *f, SornTree *t, int i) {
  (void)h; (void)m; note(f, *u == f ? "loop" : "loop-lost", i);
  if (i < atoi(a + 4)) { sorn_variabletree_setvariable(t, "I", a); return 0; }
  return strchr(a, '!') ? 1 : 2; }
int sorn_commerce_cleanup(SornHandle *h, void **u, const char *m, const char *a, SornList *f) {
  (void)h; (void)u; (void)m; (void)a; note(f, "cleanup", 0); return 0; }
#ifndef WITHOUT_ERROR
const char *sorn_commerce_error(SornHandle *h, void **u, const char *m, const char *a, SornList *f) {
  (void)h; (void)u; (void)m; (void)f; return a; }
#endif
)";

class UNIXCommerceHandlerTest : public ::testing::Test, protected ScratchDir {
 protected:
  void SetUp() override {
    Write("lib.c", kLibrary);
    std::string cc =
        "PATH=/usr/local/bin:/usr/bin:/bin cc -std=c99 -Wall -Werror -shared -fPIC -I" SORN_SOURCE "/ext ";
    ASSERT_EQ(system((cc + "-o " + root_ + "/lib.so " + root_ + "/lib.c").c_str()), 0);
    ASSERT_EQ(system((cc + "-DWITHOUT_ERROR -o " + root_ + "/noerror.so " + root_ + "/lib.c").c_str()), 0);
    expander_.reset(new MacroExpander(&host_, 8));
    parser_.reset(new ScriptParser(&host_, expander_.get()));
    host_.vars()->SetVariable("trace", (root_ + "/trace").c_str());
  }

  // Runs one loop to its end; the result of the first call, and what the
  // body would have seen.
  int Run(const std::string& library, const char* action, std::string* error = nullptr) {
    CommerceMethod method("m", (root_ + "/" + library).c_str());
    UNIXCommerceHandler handler(&method, parser_.get());
    handler.SetAction(action);
    handler.SetFields("trace");
    VariableTree tree;
    int first = handler.Go(tree);
    for (int r = first; r == CommerceResultReady; r = handler.Continue(tree)) passes_++;
    if (error != nullptr) *error = handler.error().chars();
    return first;
  }
  std::string Trace() {
    std::string trace = Read("trace");
    unlink(P("trace").c_str());
    return trace;
  }

  TestHost host_;
  std::unique_ptr<MacroExpander> expander_;
  std::unique_ptr<ScriptParser> parser_;
  int passes_ = 0;
};

TEST_F(UNIXCommerceHandlerTest, PassesCountFromZeroWithTheSlotKeptAndErrorsEndThem) {
  EXPECT_EQ(Run("lib.so", "rows2"), CommerceResultReady);
  EXPECT_EQ(passes_, 2);
  EXPECT_EQ(Trace(), "init 0\nloop 0\nloop 1\nloop 2\ncleanup 0\n");
  // A second loop loads the library afresh, with an empty slot.
  EXPECT_EQ(Run("lib.so", "rows0"), CommerceResultFinished);
  EXPECT_EQ(Trace(), "init 0\nloop 0\ncleanup 0\n");
  // Errors of init and of later passes.
  std::string error;
  passes_ = 0;
  EXPECT_EQ(Run("lib.so", "fail", &error), CommerceResultError);
  EXPECT_EQ(error, "fail");
  EXPECT_EQ(Trace(), "init 0\ncleanup 0\n");
  EXPECT_EQ(Run("lib.so", "none"), CommerceResultFinished);
  EXPECT_EQ(Trace(), "init 0\ncleanup 0\n");
  EXPECT_EQ(Run("lib.so", "rows1!", &error), CommerceResultReady);
  EXPECT_EQ(passes_, 1);
  EXPECT_EQ(error, "rows1!");
  EXPECT_EQ(Trace(), "init 0\nloop 0\nloop 1\ncleanup 0\n");
  EXPECT_EQ(Run("lib.so", "rows0!", &error), CommerceResultError);
}

TEST_F(UNIXCommerceHandlerTest, LoaderFailuresKeepTheLoadersText) {
  std::string error;
  EXPECT_EQ(Run("missing.so", "rows1", &error), CommerceResultError);
  EXPECT_EQ(error, root_ + "/missing.so: cannot open shared object file: No such file or directory");
  // Bound before the missing one, cleanup still runs; init never does.
  EXPECT_EQ(Run("noerror.so", "rows1", &error), CommerceResultError);
  EXPECT_EQ(error, root_ + "/noerror.so: undefined symbol: sorn_commerce_error");
  EXPECT_EQ(Trace(), "cleanup 0\n");
  EXPECT_EQ(passes_, 0);
}

TEST_F(UNIXCommerceHandlerTest, FieldsAreNamedVariablesInOrder) {
  CommerceMethod method("m", "unused.so");
  UNIXCommerceHandler handler(&method, parser_.get());
  host_.vars()->SetVariable("qty", "3");
  handler.SetFields(" Qty ,, nosuch ,trace");
  std::string seen;
  for (Variable* v = handler.fields.First(); v != nullptr; v = handler.fields.Next())
    seen += std::string(v->name().chars()) + "=" + v->value().chars() + ";";
  EXPECT_EQ(seen, "Qty=3;nosuch=;trace=" + root_ + "/trace;");
  handler.SetFields("");
  EXPECT_EQ(handler.fields.Entries(), 0);
}

}  // namespace
