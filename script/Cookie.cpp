// The caller-id cookie that follows a browser from visit to visit.
#include <ctime>

#include "core/Sorn.h"
#include "script/Variables.h"

namespace {

const char kCookieName[] = "lmtcallerid";
const long kCookieLifetime = 31536000;

// An id goes back to the browser inside a header line: a control byte
// would end or split that line, so such an id is not kept.
bool UsableId(const String& id) {
  if (id.empty()) return false;
  for (int i = 0; i < id.length(); i++) {
    unsigned char c = (unsigned char)id[i];
    if (c < 0x20 || c == 0x7F) return false;
  }
  return true;
}

// The value of a token "lmtcallerid=value" (the name without case), or
// false for any other token.
bool CallerIdToken(const String& cookies, int start, int end, String& id) {
  String token = cookies.at(start, end);
  if (!token.before("=").matches(kCookieName)) return false;
  id = token.after("=");
  return true;
}

}  // namespace

String Sorn::BuildCookie(const String& cookies) {
  String id;
  bool found = false;
  int start = 0;
  for (int i = 0; i < cookies.length() && !found; i++) {
    if (cookies[i] == ' ' || cookies[i] == ';') {
      found = CallerIdToken(cookies, start, i, id);
      start = i + 1;
    }
  }
  if (!found) found = CallerIdToken(cookies, start, cookies.length(), id);
  if (!found || !UsableId(id)) id = MakeSessionID();

  time_t expires = time(0) + kCookieLifetime;
  struct tm gmt;
  char date[64] = "";
  if (gmtime_r(&expires, &gmt) != nullptr) strftime(date, sizeof date, "%a, %d-%b-%Y %H:%M:%S GMT", &gmt);

  vars()->AddSystemVariable("callerid", id);
  String cookie(kCookieName);
  cookie.cat("=").cat(id).cat("; expires=").cat(date).cat("; path=/");
  return cookie;
}
