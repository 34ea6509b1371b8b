// sorn-check: checks a table and indexes of it, and with --repair fixes
// what can be fixed without losing a record (see data/XBaseChecker.h).
//
//   sorn-check [--repair] TABLE.dbf [INDEX.snx...]
//
// One line per problem or repair on standard output. Exit status 0 when
// the files are clean (after a repair: when nothing is left), 1 when a
// problem was found or is left, 2 for a usage error or a table that cannot
// be opened.
#include <stdio.h>
#include <string.h>

#include <vector>

#include "data/XBaseChecker.h"
#include "host/CGISorn.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"

int main(int argc, char** argv) {
  bool repair = false;
  int first = 1;
  if (first < argc && strcmp(argv[first], "--repair") == 0) {
    repair = true;
    first++;
  }
  if (first >= argc || argv[first][0] == '-') {
    fprintf(stderr, "usage: sorn-check [--repair] TABLE.dbf [INDEX.snx...]\n");
    return 2;
  }
  std::vector<String> indexes;
  for (int i = first + 1; i < argc; i++) indexes.push_back(argv[i]);

  // Key expressions are evaluated by a parser; it needs a script, and an
  // empty one does.
  CGISorn sorn(0, nullptr);
  MacroExpander expander(&sorn, 64);
  if (!expander.Open("/dev/null", "sorn-check")) {
    fprintf(stderr, "sorn-check: cannot open /dev/null\n");
    return 2;
  }
  int result;
  {
    ScriptParser parser(&sorn, &expander);
    XBaseChecker checker(&parser);
    result = repair ? checker.Repair(argv[first], indexes) : checker.Check(argv[first], indexes);
    for (const String& line : checker.lines()) printf("%s\n", line.chars());
  }
  fflush(stdout);
  return result;
}
