// Feeds configuration files with host blocks and declaration tags, and authorization files, to the engine.
// Text behind a line "%%" becomes the authorization file.
#include <string.h>
#include <strings.h>

#include <string>

#include "fuzz/FuzzHost.h"

namespace {

// Keys that would change the fuzzing process itself (its limits and
// priority) or wait on name servers are made unknown wherever they stand.
void DisarmKeys(std::string& text) {
  static const char* const kKeys[] = {"dnslookup", "nice", "maxcpu", "maxdata", "maxstack"};
  for (const char* key : kKeys) {
    const size_t n = strlen(key);
    for (size_t at = 0; at + n <= text.size(); at++)
      if (strncasecmp(text.data() + at, key, n) == 0) text[at] = '_';
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  static const uint8_t script[] = "ok";
  host.WriteFile("site/t.sn", script, sizeof script - 1);

  std::string text((const char*)data, size);
  DisarmKeys(text);
  std::string conf = "dnslookup=0\n";
  const size_t split = text.find("\n%%\n");
  if (split != std::string::npos) {
    const std::string auth = text.substr(split + 4);
    host.WriteFile("users.auth", (const uint8_t*)auth.data(), auth.size());
    conf += "authfile=" + host.root + "/users.auth\n";
    text.resize(split + 1);
  }
  conf += text;
  host.WriteFile("sorn.conf", (const uint8_t*)conf.data(), conf.size());
  setenv("SERVER_NAME", "www.one.test", 1);
  host.Run();
  return 0;
}
