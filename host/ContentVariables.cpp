// The request body: parsed into form variables and uploads by the parser
// that its content type names.
#include <climits>
#include <cstdlib>

#include "core/Sorn.h"
#include "core/Config.h"
#include "host/MultipartFormDataParser.h"
#include "host/URLEncodedParser.h"
#include "host/UploadCallbacks.h"

namespace {

// The announced body length as atoi reads it, but without its undefined
// overflow: a negative or unreadable length is 0, a huge one is capped.
int ContentLength(const String& text) {
  if (text.empty()) return 0;  // a request without a body, the common case
  long length = strtol(text.chars(), nullptr, 10);
  if (length <= 0) return 0;
  const long maximum = INT_MAX - 65536;
  return length > maximum ? (int)maximum : (int)length;
}

}  // namespace

int Sorn::AddContentVariables() {
  int length = ContentLength(RequestHeader("Content-Length"));
  if (length == 0) return 1;
  String type = RequestHeader("Content-Type");
  type = type.before(";");
  type.StripWhitespace();
  int buffersize = config()->contentbuffersize;
  if (type.matches("application/x-www-form-urlencoded")) {
    URLEncodedParser parser(this, buffersize);
    return parser.Parse(length) == 0;
  }
  if (type.matches("multipart/form-data")) {
    ScriptUploadCallbacks callbacks(this);
    MultipartFormDataParser parser(this, &callbacks, buffersize);
    return parser.Parse(length) == 0;
  }
  return 1;
}
