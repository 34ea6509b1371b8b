// Calendar built-ins. The time_t_ family splits an instant in UTC after
// adding a number of hours (time_zone is an offset, not a zone name);
// mktime_t reads its six numbers as UTC.
#include <stdlib.h>
#include <time.h>

#include <climits>

#include "script/Builtins.h"

namespace {

// The instant plus the offset, broken down in UTC; an all-zero record
// when the sum is out of gmtime's range.
struct tm SplitInstant(VariableTree* parameters) {
  long instant = atol(BuiltinParameter(parameters, "time_t"));
  long offset = atoi(BuiltinParameter(parameters, "time_zone")) * 3600L;
  struct tm parts = {};
  time_t when;
  if (__builtin_add_overflow(instant, offset, &when) || gmtime_r(&when, &parts) == nullptr) parts = tm();
  return parts;
}

int Clamp(long value) { return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : (int)value; }

int Number(VariableTree* parameters, const char* name) { return atoi(BuiltinParameter(parameters, name)); }

}  // namespace

void bi_time_t_month(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_mon + 1); }
void bi_time_t_year(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_year + 1900L); }
void bi_time_t_hour(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_hour); }
void bi_time_t_min(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_min); }
void bi_time_t_sec(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_sec); }
void bi_time_t_dayofweek(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_wday + 1); }
void bi_time_t_dayofmonth(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_mday); }
void bi_time_t_dayofyear(Sorn*, VariableTree* p, String& r) { r = Decimal(SplitInstant(p).tm_yday + 1); }

// Hours east of UTC, less one while daylight time is on.
void bi_timezone(Sorn*, VariableTree*, String& result) {
  tzset();
  time_t now = time(nullptr);
  struct tm parts = {};
  localtime_r(&now, &parts);
  long west = ::timezone - (parts.tm_isdst > 0 ? 3600 : 0);
  result = Decimal(-(west / 3600));
}

// mktime works in the host's zone; taking the zone's offset back off
// leaves the numbers read as UTC, normalised as mktime normalises them.
void bi_mktime_t(Sorn*, VariableTree* parameters, String& result) {
  time_t now = time(nullptr);
  struct tm parts = {};
  gmtime_r(&now, &parts);
  parts.tm_year = Clamp((long)Number(parameters, "year") - 1900);
  parts.tm_mon = Clamp((long)Number(parameters, "month") - 1);
  parts.tm_mday = Number(parameters, "dayofmonth");
  parts.tm_hour = Number(parameters, "hours");
  parts.tm_min = Number(parameters, "minutes");
  parts.tm_sec = Number(parameters, "seconds");
  long seconds = (long)mktime(&parts);
  tzset();
  seconds -= ::timezone - (parts.tm_isdst > 0 ? 3600 : 0);
  seconds -= Number(parameters, "time_zone") * 3600L;
  result = Decimal(seconds);
}
