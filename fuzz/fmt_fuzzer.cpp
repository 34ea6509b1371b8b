// Feeds a value and a pattern (split at the first NUL byte) to FMT.
#include <cstdint>
#include <string>

#include "script/ExpressionOperator.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string input((const char*)data, size);
  size_t split = input.find('\0');
  if (split == std::string::npos) split = size / 2;
  String value(input.substr(0, split).c_str());
  String pattern(split < size ? input.substr(split + 1).c_str() : "");
  String result, error;
  ExpressionOperator::Fmt(result, value, pattern, error);
  return 0;
}
