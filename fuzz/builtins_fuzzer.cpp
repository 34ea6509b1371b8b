// Calls every built-in function with hostile parameter values (any bytes, NUL included, numbers and paths with "..") on a configured request whose data and script directories are scratch folders.
//
// Input: one byte picks the function; then per declared parameter a length
// byte and that many bytes of value. A short input leaves the remaining
// parameters empty.
#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/FuzzHost.h"
#include "script/Builtins.h"

namespace {

// padl and padr build as wide a text as they are asked for, by design; a
// million keeps a run's memory bounded.
const long kMaxWidth = 1000000;

CGISorn* ConfiguredSorn() {
  static CGISorn* sorn = [] {
    FuzzHost& host = FuzzHost::Get();
    // Every event is built and written, to a sink that does not grow.
    host.WriteConfiguration("loglevel=2\nlogfile=/dev/null\n");
    host.WriteFile("site/t.sn", (const uint8_t*)"x", 1);
    host.WriteFile("data/a.txt", (const uint8_t*)"abc", 3);
    static char* argv[] = {(char*)host.program.c_str(), nullptr};
    CGISorn* s = new CGISorn(1, argv);
    String path, name;
    if (!s->LoadConfiguration() || !s->CheckConfiguration() || !s->GetScriptInformation(path, name) ||
        !s->ProcessConfiguration(path, name))
      abort();
    return s;
  }();
  return sorn;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  CGISorn* sorn = ConfiguredSorn();
  int count;
  const BuiltinDescriptor* table = BuiltinTable(&count);
  const BuiltinDescriptor& builtin = table[data[0] % count];
  size_t at = 1;

  BuiltinFunction function(builtin.name, builtin.parameters, builtin.proc);
  VariableTree parameters(1);
  for (Variable* p = function.parameters().First(); p != nullptr; p = function.parameters().Next()) {
    size_t length = at < size ? data[at++] : 0;
    if (length > size - at) length = size - at;
    String value((const char*)data + at, (int)length);
    at += length;
    if (p->name().matches("length") && (builtin.proc == bi_padl || builtin.proc == bi_padr) &&
        atoi(value) > kMaxWidth)  // read as the built-in reads it: "-2147483649" wraps
      value = Decimal(kMaxWidth);
    parameters.Insert(new Variable(p->name(), value));
  }
  String result;
  builtin.proc(sorn, &parameters, result);
  return 0;
}
