// Feeds configuration file text through the configuration reader.
#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  static const uint8_t script[] = "ok";
  host.WriteFile("site/t.sn", script, sizeof script - 1);
  host.WriteFile("sorn.conf", data, size);
  host.Run();
  return 0;
}
