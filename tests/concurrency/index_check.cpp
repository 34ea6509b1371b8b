// index_check: runs the engine's index checker over index files from the
// command line, for the tests that let many processes write one index and
// then look at what they left. Not part of the engine.
//
//   index_check RECORDS FILE...
//
// Prints each problem, then "FILE: N entries, N pages, depth N"; the exit
// status is 1 when any file has a problem or cannot be opened.
#include <stdio.h>
#include <stdlib.h>

#include "core/File.h"
#include "data/LMTIndexChecker.h"
#include "data/LMTIndexFile.h"
#include "host/CGISorn.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: index_check RECORDS FILE...\n");
    return 2;
  }
  long records = atol(argv[1]);
  CGISorn sorn(0, nullptr);
  int failed = 0;
  for (int i = 2; i < argc; i++) {
    LMTIndexFile index(&sorn);
    if (!index.Open(argv[i], argv[i], FileRead)) {
      printf("%s: %s\n", argv[i], index.error().chars());
      failed = 1;
      continue;
    }
    LMTIndexChecker checker(&index);
    if (checker.Check(records) != 0) failed = 1;
    for (const String& problem : checker.problems()) printf("%s: %s\n", argv[i], problem.chars());
    printf("%s: %ld entries, %ld pages, depth %d\n", argv[i], checker.entries(), checker.pages(), checker.depth());
    index.Close();
  }
  return failed;
}
