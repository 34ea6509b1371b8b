// Request data reaching the script (environment, query, body), and the
// header block of the response.
#include <crypt.h>
#include <errno.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "core/Output.h"
#include "host/CGISorn.h"
#include "core/Config.h"
#include "script/Variable.h"
#include "script/Variables.h"

namespace {

void RemoveBackslashes(String& text) {
  if (text.contains('\\')) text.gsub("\\", "");
}

}  // namespace

int CGISorn::AddEnvironmentVariables() {
  vars()->AddSystemVariable("process_id", Decimal((long)getpid()));
  for (Variable* v = environment_->First(); v != nullptr; v = environment_->Next()) {
    const String& name = v->name();
    if (name.matches("TERMCAP") || name.matches("MAIL") || name.matches("LOGNAME") || name.matches("PATH"))
      continue;
    vars()->AddSystemVariable(name, v->value());
  }
  return 1;
}

int CGISorn::AddQueryArguments() {
  int counter = 1;
  if (!redirectpath_.empty()) {
    String path = redirectpath_;
    RemoveBackslashes(path);
    vars()->AddSystemVariable("arg1", path);
    counter = 2;
  }
  String query = vars()->GetSystemVariableValue("QUERY_STRING");
  int position = 0;
  int next = 1;
  for (;;) {
    String word;
    if (argc_ < 2) {
      if (!NextPiece(query, '+', position, word)) break;
    } else {
      if (next >= argc_ || argv_[next] == nullptr) break;
      word = argv_[next++];
    }
    RemoveBackslashes(word);
    DecodeAttribute(word);
    if (word.empty()) continue;
    vars()->AddSystemVariable("arg" + Decimal(counter), word);
    counter++;
  }
  vars()->AddSystemVariable("nargs", Decimal(counter - 1));
  return 1;
}

int CGISorn::AddQueryVariables() {
  String query = vars()->GetSystemVariableValue("QUERY_STRING");
  if (redirectpath_.empty()) {
    // The first word names the script; form variables follow its "+".
    int plus = query.index("+");
    if (plus < 0) return 1;
    query = query.from(plus + 1);
  }
  int position = 0;
  String piece;
  while (NextPiece(query, '&', position, piece)) {
    RemoveBackslashes(piece);
    if (piece.empty()) continue;
    String name = piece, value = piece;
    if (piece.contains('=')) {
      name = piece.before("=");
      value = piece.after("=");
    }
    name.StripWhitespace();
    value.StripWhitespace();
    DecodeAttribute(name);
    DecodeAttribute(value);
    vars()->AddFormVariable(name, value);
  }
  return 1;
}

int CGISorn::AddAPIVariables() {
  bool https = vars()->GetSystemVariableValue("HTTPS").matches("on");
  String scheme = https ? "https" : "http";
  String port = vars()->GetSystemVariableValue("SERVER_PORT");
  if (port.empty() || port == (https ? "443" : "80"))
    port = "";
  else
    port.prepend(":");
  String url = scheme + "://" + vars()->GetSystemVariableValue(config()->virtualhostvariable) + port;
  if (!redirectpath_.empty()) {
    vars()->AddSystemVariable("apitype", "Redirect");
    url.cat(redirectpath_).cat("?");
  } else {
    vars()->AddSystemVariable("apitype", "CGI");
    url.cat(vars()->GetSystemVariableValue("SCRIPT_NAME")).cat("?");
    url.cat(vars()->GetSystemVariableValue("arg1")).cat("+");
  }
  vars()->AddSystemVariable("documenturl", url);
  return 1;
}

// The status is not written: a CGI response has no status line.
int CGISorn::StartHeaders(int) {
  output_->Write("Content-type: ");
  output_->Write(contenttype_);
  output_->Write("\r\n", 2);
  return 1;
}

int CGISorn::OutputCookie() {
  output_->Write("Set-Cookie: ");
  output_->Write(BuildCookie(vars()->GetSystemVariableValue("HTTP_COOKIE")));
  output_->Write("\r\n", 2);
  return 1;
}

int CGISorn::EndHeaders() {
  output_->Write("\r\n", 2);
  return 1;
}

String CGISorn::RequestHeader(const String& name) {
  String variable;
  if (name.matches("Content-Type")) {
    variable = "CONTENT_TYPE";
  } else if (name.matches("Content-Length")) {
    variable = "CONTENT_LENGTH";
  } else {
    variable = "HTTP_" + name;
    variable.gsub("-", "_");
  }
  const char* value = getenv(variable.chars());
  return value != nullptr ? value : "";
}

// Waits for the body without spinning: poll sleeps until data or the end
// of the input is there, and wakes each second to see whether a signal
// has asked the process to stop. 0 is the end of the input, -1 a failure
// or a signal.
int CGISorn::ReadContent(char* buffer, int size) {
  if (size <= 0) return 0;
  for (;;) {
    if (signalled_) return -1;
    struct pollfd input = {0, POLLIN, 0};
    int ready = poll(&input, 1, 1000);
    if (ready < 0 && errno != EINTR) return -1;
    if (ready <= 0) continue;
    ssize_t count = read(0, buffer, size);
    if (count < 0 && errno == EINTR) continue;
    return (int)count;
  }
}

String CGISorn::currentdate() {
  tzset();
  time_t now = time(0);
  struct tm local;
  char date[64] = "";
  if (localtime_r(&now, &local) != nullptr) strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S ", &local);
  long zone = timezone;
  if (local.tm_isdst > 0) zone -= 3600;
  long hours = zone / 3600;
  char offset[24];
  if (zone >= 0)
    snprintf(offset, sizeof offset, "-%04ld", hours * 100);
  else
    snprintf(offset, sizeof offset, "+%04ld", -hours * 100);
  String result(date);
  result.cat(offset);
  return result;
}

String CGISorn::Crypt(const String& text, const String& salt) {
  const char* result = crypt(text.chars(), salt.chars());
  return result != nullptr ? result : "";
}

String CGISorn::MakeSessionID() {
  struct timeval now;
  gettimeofday(&now, nullptr);
  char id[40];
  snprintf(id, sizeof id, "%08lX%08lX%08lX%08lX", (unsigned long)now.tv_sec, (unsigned long)now.tv_usec,
           (unsigned long)getpid(), 0UL);
  return id;
}
