// Request data reaching the script, and the header block.
#include <unistd.h>

#include "core/Output.h"
#include "host/CGISorn.h"

int CGISorn::AddEnvironmentVariables() { return 1; }
int CGISorn::AddAPIVariables() { return 1; }
int CGISorn::AddQueryArguments() { return 1; }
int CGISorn::AddQueryVariables() { return 1; }

int CGISorn::StartHeaders(int) {
  output_->Write("Content-type: ");
  output_->Write(contenttype_);
  output_->Write("\r\n", 2);
  return 1;
}

int CGISorn::OutputCookie() {
  output_->Write("Set-Cookie: ");
  output_->Write(BuildCookie(RequestHeader("HTTP_COOKIE")));
  output_->Write("\r\n", 2);
  return 1;
}

int CGISorn::EndHeaders() {
  output_->Write("\r\n", 2);
  return 1;
}

String CGISorn::RequestHeader(const String&) { return String(); }

int CGISorn::ReadContent(char* buffer, int size) {
  ssize_t n = read(0, buffer, size);
  return (int)n;
}

String CGISorn::currentdate() { return String(); }
String CGISorn::Crypt(const String& text, const String&) { return text; }
String CGISorn::MakeSessionID() { return String(); }
