#include <gtest/gtest.h>

#include "core/NameValuePair.h"
#include "core/Stack.h"
#include "script/Variable.h"

namespace {

struct Counted {
  explicit Counted(const char* n, int* deaths) : name(n), deaths(deaths) {}
  ~Counted() { (*deaths)++; }
  String name;
  int* deaths;
};
const char* ElementName(const Counted* c) { return c->name.chars(); }

}  // namespace

TEST(List, InsertAtCurrentGoesBeforeCursorAndRemoveMovesCursorOn) {
  int a = 1, b = 2, c = 3;
  List<int> list(0), empty(0);
  EXPECT_EQ(empty.Remove(ListHead), nullptr);  // from empty: the count goes to -1
  EXPECT_EQ(empty.Entries(), -1);
  list.Insert(&a, ListTail);
  list.Insert(&c, ListTail);
  list.Insert(&b, ListCurrent);  // before c
  EXPECT_EQ(list.First(), &a);
  EXPECT_EQ(list.Next(), &b);
  EXPECT_EQ(list.Next(), &c);
  EXPECT_EQ(list.Next(), nullptr);
  EXPECT_EQ(list.Next(), nullptr);  // a cursor off the end stays nowhere
  list.Seek(&b);
  EXPECT_EQ(list.Remove(ListCurrent), &b);
  EXPECT_EQ(list.Current(), &c);
  EXPECT_EQ(list.Remove(ListCurrent), &c);
  EXPECT_EQ(list.Current(), nullptr);
  EXPECT_EQ(list.Entries(), 1);
}

TEST(SearchableList, FailedFindLeavesNoCursorAndFindIgnoresCase) {
  NameValueList list(1);
  list.Insert(new NameValuePair("Alpha", "1"), ListTail);
  list.Insert(new NameValuePair("beta", "2"), ListTail);
  ASSERT_NE(list.Find("BETA"), nullptr);
  EXPECT_STREQ(list.Current()->value, "2");
  EXPECT_EQ(list.Find("gamma"), nullptr);
  EXPECT_EQ(list.Current(), nullptr);
}

TEST(SplayTree, DuplicatesKeepBothNewestFoundAllDumped) {
  int deaths = 0;
  {
    SplayTree<Counted> tree(1);
    const char* names[] = {"m", "c", "x", "a", "k", "z"};
    for (const char* n : names) tree.Insert(new Counted(n, &deaths));
    Counted* newer = new Counted("K", &deaths);
    tree.Insert(newer);
    EXPECT_EQ(tree.Find("k"), newer);
    for (const char* n : names) ASSERT_NE(tree.Find(n), nullptr) << n;
    EXPECT_EQ(tree.Find("b"), nullptr);
    EXPECT_EQ(tree.Remove("m"), 0);
    EXPECT_EQ(tree.Find("k"), newer);
  }
  EXPECT_EQ(deaths, 7);
}

TEST(VariableTree, ListsInNameOrder) {
  VariableTree tree(1);
  tree.SetVariable("b", "2");
  tree.SetVariable("A", "1");
  tree.SetVariable("c", "3");
  tree.SetVariable("B", "two");
  List<Variable> list(0);
  tree.AppendToList(list);
  ASSERT_EQ(list.Entries(), 3);
  EXPECT_STREQ(list.First()->name(), "A");
  EXPECT_STREQ(list.Next()->value(), "two");
}

TEST(Stack, PopAfterPeekCutsBackToPeekedLevel) {
  int deaths = 0;
  Stack<Counted> stack(1);
  Counted* bottom = new Counted("bottom", &deaths);
  stack.Push(bottom);
  stack.Push(new Counted("middle", &deaths));
  stack.Push(new Counted("top", &deaths));
  stack.Top();
  stack.Peek();
  EXPECT_EQ(stack.Peek(), bottom);
  EXPECT_EQ(stack.Pop(), bottom);  // the two above are deleted
  EXPECT_EQ(deaths, 2);
  EXPECT_TRUE(stack.empty());
  delete bottom;
}

TEST(NameValuePair, RemoveQuotes) {
  const char* cases[][2] = {{"  \"ab\\\"  ", "ab\""}, {"\"x \\\"y\\\" z\"", "x \"y\" z"}, {" plain\\\" ", "plain\\\""}};
  for (const auto& c : cases) {
    NameValuePair p("n", c[0]);
    p.RemoveQuotes();
    EXPECT_STREQ(p.value, c[1]) << c[0];
  }
}

TEST(SplayTree, KeyOrderIsThatOfStrcasecmp) {
  const char* keys[] = {"", "a", "A", "ab", "aB", "b", "_x", "[", "`", "Z", "z", "\xe9t\xe9", "\xc9T", "a\x7f"};
  for (const char* a : keys)
    for (const char* b : keys) {
      int mine = CompareKeys(a, b), theirs = strcasecmp(a, b);
      EXPECT_EQ(mine < 0, theirs < 0) << a << " " << b;
      EXPECT_EQ(mine == 0, theirs == 0) << a << " " << b;
      for (size_t n = 0; n < 4; n++) {
        mine = CompareKeys(a, b, n), theirs = strncasecmp(a, b, n);
        EXPECT_EQ(mine < 0, theirs < 0) << a << " " << b << " " << n;
        EXPECT_EQ(mine == 0, theirs == 0) << a << " " << b << " " << n;
      }
    }
}
