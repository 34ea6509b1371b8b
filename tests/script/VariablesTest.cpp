#include "script/Variables.h"

#include <gtest/gtest.h>

#include <string>

#include "../core/ScopedTimeZone.h"
#include "../host/TestHost.h"
#include "core/Database.h"
#include "script/DynamicVariable.h"

namespace {

// A view and a database that hold only variables: the lookups under test
// need nothing else of them.
struct FakeView : DatabaseView {
  explicit FakeView(const char* alias) : DatabaseView(nullptr, alias) {}
  int SetFilter(const String&) override { return 0; }
  int RevealStructure(const String&) override { return 0; }
  int Skip(long) override { return 0; }
  int Go(long) override { return 0; }
  int Find(const String&, int) override { return 0; }
  int Add() override { return 0; }
  int Update() override { return 0; }
  int Delete() override { return 0; }
  int UnDelete() override { return 0; }
  Variable* Find(const String& field) override { return fields.Find(field); }
  const char* type() const override { return "fake"; }
  int Open() override { return 0; }
  int Close() override { return 0; }
  VariableTree fields;
};

struct FakeDatabase : Database {
  FakeDatabase() : Database(nullptr, "shop"), viewlist(*views()) {}
  int Open(const String&, const String&, const String&) override { return 0; }
  int OpenIndexes(const String&) override { return 0; }
  int SetPrimaryIndex(const String&) override { return 0; }
  int Create(const String&, const String&) override { return 0; }
  int CreateIndex(const String&, const String&, const String&) override { return 0; }
  int Close() override { return 0; }
  int OpenView(const String&, const String&) override { return 0; }
  int RunQuery(const String&) override { return 0; }
  int Pack() override { return 0; }
  int Reindex() override { return 0; }
  const char* type() const override { return "fake"; }
  SearchableList<DatabaseView>& viewlist;
};

std::string Names(VariableList& list) {
  std::string names;
  for (Variable* v = list.First(); v != nullptr; v = list.Next()) names += std::string(v->name()) + " ";
  return names;
}

}  // namespace

TEST(Variables, ScopeParsing) {
  struct {
    const char *name, *variable, *database;
    int scope;
  } cases[] = {{"LOCAL.X", "X", "", LocalScope},     {"s.x", "X", "", SystemScope},
               {"d.x", "X", "", DatabaseScope},     {"a.database.b.c", "B.C", "A", DatabaseScope},
               {"G.D.X", "X", "G", DatabaseScope},  {"DOG.X", "X", "", NoScope},
               {"CAT.X", "CAT.X", "", NoScope},     {"gx", "GX", "", NoScope}, {"", "", "", NoScope}};
  for (auto& c : cases) {
    String variable("junk"), database("junk");
    EXPECT_EQ(Variables::Scope(c.name, variable, database), c.scope) << c.name;
    EXPECT_STREQ(variable, c.variable) << c.name;
    EXPECT_STREQ(database, c.database) << c.name;
  }
}

TEST(Variables, LocalFramesAndGlobals) {
  TestHost host;
  Variables& vars = *host.vars();
  vars.SetVariable("l.color", "red");  // at top level every spelling is the global
  vars.SetVariable("Color", "blue");
  vars.SetVariable("GLOBAL.color", "green");
  for (const char* name : {"COLOR", "local.Color", "g.color"}) EXPECT_STREQ(vars.Value(name), "green") << name;
  VariableList list(0);
  vars.GetLocalVariableList(list);  // no frame: the globals, set and not added again
  EXPECT_EQ(Names(list), "COLOR ");

  VariableTree outer(1), inner(1);
  vars.PushLocalVars(&outer);
  vars.SetVariable("l.color", "outer-local");
  vars.SetVariable("made", "by-function");  // unscoped and new: a global
  EXPECT_STREQ(vars.Value("l.made"), "");  // l. looks only at the frame
  vars.PushLocalVars(&inner);
  EXPECT_STREQ(vars.Value("color"), "green");  // the caller's locals are unseen
  vars.SetVariable("l.tmp", "inner-local");
  EXPECT_EQ(vars.PopLocalVars(), &inner);
  EXPECT_NE(inner.Find("TMP"), nullptr);
  EXPECT_STREQ(vars.Value("tmp"), "");
  EXPECT_STREQ(vars.Value("color"), "outer-local");
  EXPECT_EQ(vars.PopLocalVars(), &outer);
  EXPECT_EQ(vars.PopLocalVars(), nullptr);
  EXPECT_STREQ(vars.Value("made"), "by-function");
  EXPECT_STREQ(vars.Value("color"), "green");

  // Reads never create; form fields of one name join.
  for (const char* name : {"ghost", "l.ghost", "s.ghost", "d.ghost", "v.d.ghost"}) vars.Value(name);
  vars.AddFormVariable("field", "a");
  vars.AddFormVariable("FIELD", "b");
  vars.AddGlobalVariable("dup", "old");
  vars.AddGlobalVariable("DUP", "new");
  EXPECT_STREQ(vars.Value("dup"), "new");
  EXPECT_STREQ(vars.Value("field"), "a,b");
  VariableList globals(0);
  vars.GetGlobalVariableList(globals);
  EXPECT_EQ(Names(globals), "COLOR dup DUP field MADE ");  // in name order
}

TEST(Variables, SystemNamesAndFrames) {
  TestHost host;
  Variables& vars = *host.vars();
  EXPECT_EQ(vars.SetVariable("s.nosuch", "one"), 0);  // never created
  EXPECT_EQ(vars.Find("nosuch"), nullptr);
  vars.AddSystemVariable("v", "base");
  vars.SetVariable("V", "changed");  // unscoped: the system variable, no global
  EXPECT_EQ(vars.Find("g.v"), nullptr);
  vars.SetVariable("g.v", "global");
  EXPECT_STREQ(vars.Value("v"), "changed");

  VariableTree call(1), message(1);
  call.SetVariable("v", "call");
  call.SetVariable("only_call", "c");
  message.SetVariable("v", "message");
  vars.PushSystemVars(&call);
  vars.PushSystemVars(&message);
  EXPECT_STREQ(vars.Value("v"), "message");
  EXPECT_STREQ(vars.Value("s.only_call"), "c");
  EXPECT_STREQ(vars.GetSystemVariableValue("only_call"), "");  // the base only
  VariableList list(0);
  vars.GetSystemVariableList(list);
  EXPECT_EQ(Names(list), "v only_call v v ");
  // A search leaves the stack's cursor low down; a pop still takes one frame.
  vars.Value("nowhere");
  EXPECT_EQ(vars.PopSystemVars(), &message);
  EXPECT_EQ(vars.PopSystemVars(), &call);
  EXPECT_EQ(vars.PopSystemVars(), nullptr);
  EXPECT_STREQ(vars.Value("s.v"), "changed");
}

TEST(Variables, SearchOrderAndDatabaseScopes) {
  TestHost host;
  Variables& vars = *host.vars();
  FakeDatabase* db = new FakeDatabase;
  host.databases()->Insert(db, ListTail);
  FakeView* customers = new FakeView("customers");
  FakeView* orders = new FakeView("orders");
  db->viewlist.Insert(customers, ListTail);
  db->viewlist.Insert(orders, ListTail);
  customers->fields.SetVariable("name", "Ann");
  orders->fields.SetVariable("name", "order-name");
  orders->fields.SetVariable("total", "42");

  vars.AddGlobalVariable("name", "global");
  EXPECT_STREQ(vars.Value("name"), "Ann");  // databases before globals
  EXPECT_STREQ(vars.Value("ORDERS.DATABASE.NAME"), "order-name");
  EXPECT_STREQ(vars.Value("d.total"), "42");  // every view is searched
  EXPECT_STREQ(vars.Value("nosuchview.d.name"), "");
  VariableTree frame(1);
  frame.SetVariable("name", "local");
  vars.PushLocalVars(&frame);
  EXPECT_STREQ(vars.Value("name"), "local");
  vars.AddSystemVariable("name", "system");
  EXPECT_STREQ(vars.Value("name"), "system");
  vars.PopLocalVars();

  EXPECT_EQ(vars.SetVariable("orders.d.total", "43"), 1);
  EXPECT_STREQ(vars.Value("total"), "43");
  EXPECT_EQ(vars.SetVariable("d.missing", "x"), 0);  // fields are never created
  EXPECT_EQ(vars.SetVariable("G.D.X", "x"), 0);
  EXPECT_EQ(vars.Find("g.x"), nullptr);
  // The cursors of the lists belong to their other users.
  db->viewlist.Seek(orders);
  vars.Value("d.nothing");
  EXPECT_EQ(db->viewlist.Current(), orders);
  EXPECT_EQ(host.databases()->Current(), db);
}

TEST(DynamicVariables, RefuseAssignmentAndComputeOnRead) {
  TestHost host;
  Variables& vars = *host.vars();
  AddDynamicVariables(&host, &vars);
  host.SetLanguage("fr");
  EXPECT_STREQ(vars.Value("dyn_time_remaining"), "-1");  // no deadline yet
  EXPECT_EQ(vars.SetVariable("s.sorn_language", "de"), 0);
  EXPECT_EQ(vars.SetVariable("dyn_tm_year", "1066"), 0);
  EXPECT_STREQ(vars.Find("dyn_tm_year")->error(), "'dyn_tm_year' is dynamically generated by the system");
  EXPECT_EQ(vars.Find("g.dyn_tm_year"), nullptr);
  host.SetLanguage("it");
  EXPECT_STREQ(vars.Value("sorn_language"), "it");

  STRTM values;
  time_t before = time(nullptr);
  ASSERT_EQ(sn_gettimevalues(&values), 1);
  time_t at = (time_t)atol(values.time_t_text);
  EXPECT_TRUE(at >= before && at <= before + 2);
  struct tm local;
  localtime_r(&at, &local);
  EXPECT_EQ(atoi(values.tm_mon), local.tm_mon + 1);
  EXPECT_EQ(atoi(values.tm_yday), local.tm_yday + 1);
  EXPECT_EQ(atoi(vars.Value("dyn_tm_year")), local.tm_year + 1900);
  EXPECT_EQ(std::string("JanFebMarAprMayJunJulAugSepOctNovDec").substr(3 * local.tm_mon, 3), values.stm_mon);
}

// The start-of-request texts are worked out at their first read, yet must
// be those of the reading taken at the start, in the zone of that moment;
// an assignment before any read must not be overwritten by that first read.
TEST(TimeSnapshotVariables, KeepTheStartReadingUntilAssigned) {
  ScopedTimeZone zone("UTC");
  struct timeval start = {951782400 + 3 * 3600 + 4 * 60 + 5, 123456};  // 2000-02-29 03:04:05 UTC
  const char* expected[DynTimeTypes] = {"951793445", "123456", "5", "4",   "3",   "29",  "2",
                                        "Feb",       "2000",   "3", "Tue", "60",  "0",   "UTC"};
  for (int type = 0; type < DynTimeTypes; type++) {
    TimeSnapshotVariable v(start, (DynamicTimeVariableType)type);
    EXPECT_STREQ(v.name(), DynamicTimeVariableName((DynamicTimeVariableType)type) + 4);
    EXPECT_STREQ(v.value(), expected[type]) << v.name();
  }
  TimeSnapshotVariable year(start, DynTmYear);
  EXPECT_EQ(year.SetValue("1066"), 1);
  EXPECT_STREQ(year.value(), "1066");
}
