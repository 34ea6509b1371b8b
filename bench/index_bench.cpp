// Builds an index of 100,000 keys in a scratch directory and times 10,000
// exact finds of keys picked at random, each under its read lock, as a
// view's find does. Prints one line: the build time, the time per find,
// and the pages read per find, which is at most the depth of the tree.
// Usage: index_bench [DIRECTORY]   (default /tmp)
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "data/LMTIndexChecker.h"
#include "data/LMTIndexFile.h"
#include "host/CGISorn.h"

namespace {

const int kKeys = 100000;
const int kFinds = 10000;

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

}  // namespace

int main(int argc, char** argv) {
  std::string directory = argc > 1 ? argv[1] : "/tmp";
  std::string path = directory + "/index_bench." + std::to_string(getpid()) + ".snx";
  CGISorn sorn(1, argv);
  LMTIndexFile index(&sorn);
  if (!index.Create(path.c_str(), "bench.snx", "{ code }", 0)) {
    fprintf(stderr, "index_bench: %s\n", index.error().chars());
    return 1;
  }
  // Keys in scrambled order, as records of a table seldom come sorted.
  std::vector<std::string> keys(kKeys);
  std::mt19937 random(1);
  for (int i = 0; i < kKeys; i++) keys[i] = "key" + std::to_string((long)i * 7919 % kKeys);
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kKeys; i++) {
    if (!index.Insert(i + 1, keys[i].c_str())) {
      fprintf(stderr, "index_bench: %s\n", index.error().chars());
      unlink(path.c_str());
      return 1;
    }
  }
  double build = Seconds(start);

  long before = index.pagesread();
  long misses = 0;
  start = std::chrono::steady_clock::now();
  for (int i = 0; i < kFinds; i++) {
    int pick = (int)(random() % kKeys);
    long recno = 0;
    if (!index._Find(keys[pick].c_str(), 1, &recno, 1) || recno != pick + 1) misses++;
  }
  double finds = Seconds(start);
  double pages = (double)(index.pagesread() - before) / kFinds;

  LMTIndexChecker checker(&index);
  int problems = checker.Check(kKeys);
  unlink(path.c_str());
  printf(
      "index: %d keys built in %.2f s; %d finds in %.3f s, %.1f us each, %.2f pages read per find "
      "(depth %d, %ld pages)%s\n",
      kKeys, build, kFinds, finds, finds * 1e6 / kFinds, pages, checker.depth(), checker.pages(),
      problems || misses ? " WRONG RESULTS" : "");
  return problems || misses ? 1 : 0;
}
