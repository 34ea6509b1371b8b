#include "core/NameValuePair.h"

void NameValuePair::RemoveQuotes() {
  value.StripWhitespace();
  if (!value.matches('"', 0) || value.empty()) return;
  value = value.from(1);
  int n = value.length();
  if (n > 0 && value[n - 1] == '"' && !(n > 1 && value[n - 2] == '\\')) value.truncate(n - 1);
  value.gsub("\\\"", "\"");
}
