// Feeds flat-file text (after one byte that picks the delimiter) through SnIMPORT with a filter, SnEXPORT of
// each record and an import of that export.
#include <unistd.h>

#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kDelimiters[] = {",", "", "::", "\\\\", "ab", "|"};
  FuzzHost& host = FuzzHost::Get();
  static bool configured = false;
  if (!configured) {
    // Small blocks, so that line ends and escapes fall across them.
    host.WriteConfiguration("importbuffersize=5\n");
    configured = true;
  }
  if (size == 0) return 0;
  std::string delimiter = kDelimiters[data[0] % (sizeof kDelimiters / sizeof kDelimiters[0])];
  host.WriteFile("data/f.txt", data + 1, size - 1);
  std::string d = "DELIMITER=\"" + delimiter + "\"";
  std::string script = "<SnIMPORT FILE=\"f.txt\" FIELDS=\"a, b,c\" " + d +
                       " FILTER=\"{ a NE 'x' }\"><SnEXPORT FILE=\"o.txt\" FIELDS=\"c,b,a\" " + d +
                       ">[<SnEVAL EXPR=\"{ RECNO $ a }\">]</SnIMPORT><SnIMPORT FILE=\"o.txt\" FIELDS=\"a\" " +
                       d + "><SnIF EXPR=\"{ RECNO GT 3 }\"><SnIMPORTSTOP></SnIF></SnIMPORT>";
  host.WriteFile("site/t.sn", (const uint8_t*)script.data(), script.size());
  host.Run();
  unlink((host.root + "/data/o.txt").c_str());
  return 0;
}
