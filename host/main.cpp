#include "host/CGISorn.h"

// The exit status is 1 once the script was started and 0 when an earlier
// step failed: the opposite of the Unix custom, and what web servers ignore.
int main(int argc, char** argv) {
  CGISorn sorn(argc, argv);
  return sorn.Go();
}
