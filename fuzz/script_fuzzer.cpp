// Feeds script text through the scanner, parser, macros and expressions.
#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  host.WriteFile("site/t.sn", data, size);
  host.Run();
  return 0;
}
