// Feeds a request: first line the query string, second the content type,
// the rest the body (URL-encoded or multipart).
#include <string>

#include "fuzz/FuzzHost.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  std::string input((const char*)data, size);
  size_t first = input.find('\n');
  size_t second = first == std::string::npos ? first : input.find('\n', first + 1);
  std::string query = input.substr(0, first);
  std::string type = first == std::string::npos ? "" : input.substr(first + 1, second - first - 1);
  std::string body = second == std::string::npos ? "" : input.substr(second + 1);
  if (query.find('\0') != std::string::npos || type.find('\0') != std::string::npos) return 0;

  static const uint8_t script[] =
      "<SnFUNCTION NAME=\"Sorn_ValidateFileUpload\" PARAMETERS=\"n, f, t\"><SnFUNCRETURN VALUE=\"4\">"
      "</SnFUNCTION><SnFUNCTION NAME=\"Sorn_ProcessFileUpload\" PARAMETERS=\"n, f, s, p, t, z\">"
      "</SnFUNCTION>&[q];";
  host.WriteFile("site/t.sn", script, sizeof script - 1);
  host.WriteFile("body", (const uint8_t*)body.data(), body.size());
  int fd = open((host.root + "/body").c_str(), O_RDONLY);
  dup2(fd, 0);
  close(fd);
  setenv("QUERY_STRING", query.c_str(), 1);
  setenv("REQUEST_METHOD", "POST", 1);
  setenv("CONTENT_TYPE", type.c_str(), 1);
  setenv("CONTENT_LENGTH", std::to_string(body.size()).c_str(), 1);
  host.Run();
  return 0;
}
