#include "data/XBaseVariable.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "data/XBaseTable.h"
#include "script/Expression.h"

namespace {

// atoi and atol without their undefined behaviour on overflow: values
// beyond the range saturate.
long ToLong(const char* text) { return strtol(text, nullptr, 10); }
int ToInt(const char* text) {
  long n = ToLong(text);
  return n > INT_MAX ? INT_MAX : n < INT_MIN ? INT_MIN : (int)n;
}

// The stored text of a DATE field, padded with blanks to the field's length
// so that the part setters can splice at fixed places.
String DateText(XBaseField* field) {
  const char* data = field->data();
  String text(data ? data : "");
  while (text.length() < field->length()) text.cat(' ');
  return text;
}

// Characters [start, end) of text, as far as it reaches.
String Part(const String& text, int start, int end) {
  if (start >= text.length()) return String();
  if (end > text.length()) end = text.length();
  return text.at(start, end);
}

}  // namespace

String XBaseVariable::FieldText() const {
  const char* data = field_ != nullptr ? field_->data() : nullptr;
  return String(data != nullptr ? data : "");
}

String& XBaseVariable::value() {
  value_ = FieldText();
  return value_;
}

int XBaseVariable::SetValue(const String& value) {
  field_->Set(value);
  return 1;
}

String& XBaseNumberVariable::value() {
  value_ = FieldText();
  value_.ltrim();
  return value_;
}

int XBaseNumberVariable::SetValue(const String& value) {
  error_ = "";
  String integer, fraction;
  int at = 0;
  if (value.length() > 0 && value[0] == '-') {
    integer.cat('-');
    at = 1;
  }
  bool point = false;
  for (; at < value.length(); at++) {
    char c = value[at];
    if (c == '.') {
      if (point) {
        error_ = "Value\tassigned to numeric field contains more\tthan one decimal point";
        return 0;
      }
      point = true;
    } else if (c < '0' || c > '9') {
      error_ = "Value\tassigned to numeric field contains a non-numeric character";
      return 0;
    } else {
      (point ? fraction : integer).cat(c);
    }
  }
  if (integer.empty()) integer = "0";
  String result = integer;
  int decimals = field_->decimalcount();
  if (decimals > 0) {
    result.cat('.');
    for (int i = 0; i < decimals; i++) result.cat(i < fraction.length() ? fraction[i] : '0');
  }
  if (result.length() > field_->length()) {
    error_ = "Value\tassigned to numeric field is too long";
    return 0;
  }
  return XBaseVariable::SetValue(result);
}

String& XBaseBoolVariable::value() {
  String text = FieldText();
  text.StripWhitespace();
  char c = text.empty() ? 0 : text[0];
  value_ = (c == 'Y' || c == 'y' || c == 'T' || c == 't') ? "1" : "0";
  return value_;
}

int XBaseBoolVariable::SetValue(const String& value) {
  return XBaseVariable::SetValue(Expression::IsTrue(value) ? "T" : "F");
}

long XBaseDateTimeTVariable::TimeFromUTC(int year, int month, int day, int hour, int minute, int second) {
  time_t now = time(nullptr);
  struct tm t;
  gmtime_r(&now, &t);
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  time_t local = mktime(&t);
  long result = (long)local - timezone;
  if (t.tm_isdst > 0) result += 3600;
  return result;
}

String& XBaseDateTimeTVariable::value() {
  String text = FieldText();
  int year = ToInt(Part(text, 0, 4).chars());
  int month = ToInt(Part(text, 4, 6).chars());
  int day = ToInt(Part(text, 6, 8).chars());
  time_t t = (time_t)TimeFromUTC(year, month, day, 0, 0, 0);
  struct tm local;
  long result = (long)t + timezone;
  if (localtime_r(&t, &local) != nullptr && local.tm_isdst > 0) result -= 3600;
  value_ = Decimal(result);
  return value_;
}

String XBaseDateTimeTVariable::ToDate(const String& value) {
  long n = ToLong(value.chars());
  if (n < 0) return String("19700101");
  time_t t = (time_t)n;
  struct tm local;
  if (localtime_r(&t, &local) == nullptr) return String("19700101");
  char text[64];
  // A time value far in the future has a year that tm_year + 1900 would
  // overflow as an int.
  snprintf(text, sizeof text, "%04ld%02d%02d", (long)local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
  return String(text);
}

int XBaseDateTimeTVariable::SetValue(const String& value) {
  for (int i = 0; i < value.length(); i++) {
    if (value[i] < '0' || value[i] > '9') {
      error_ = "Value\tassigned to date field contains\ta non-numeric character";
      return 0;
    }
  }
  return XBaseVariable::SetValue(ToDate(value));
}

String& XBaseDateMonthVariable::value() {
  value_ = Part(FieldText(), 4, 6);
  return value_;
}

int XBaseDateMonthVariable::SetValue(const String& value) {
  int month = ToInt(value.chars());
  if (month < 1 || month > 12) {
    error_ = "Invalid month";
    return 0;
  }
  String text = DateText(field_);
  char two[16];
  snprintf(two, sizeof two, "%02d", month);
  return XBaseVariable::SetValue(Part(text, 0, 4) + two + text.from(6));
}

String& XBaseDateDayVariable::value() {
  value_ = Part(FieldText(), 6, 8);
  return value_;
}

int XBaseDateDayVariable::SetValue(const String& value) {
  int day = ToInt(value.chars());
  if (day < 0 || day > 31) {
    error_ = "Invalid day";
    return 0;
  }
  String text = DateText(field_);
  char two[16];
  snprintf(two, sizeof two, "%02d", day);
  return XBaseVariable::SetValue(Part(text, 0, 6) + two);
}

String& XBaseDateYearVariable::value() {
  value_ = Part(FieldText(), 0, 4);
  return value_;
}

int XBaseDateYearVariable::SetValue(const String& value) {
  int year = ToInt(value.chars());
  if (year < 0 || year > 9999) {
    error_ = "Invalid year";
    return 0;
  }
  String text = DateText(field_);
  char four[16];
  snprintf(four, sizeof four, "%04d", year);
  return XBaseVariable::SetValue(four + text.from(4));
}

String& XBaseTotalRecordsVariable::value() {
  value_ = Decimal((long)table_->recordcount());
  return value_;
}

String& XBaseRecordNumberVariable::value() {
  value_ = Decimal(table_->recno());
  return value_;
}

String& XBaseDeletedVariable::value() {
  value_ = table_->deleted() ? "1" : "0";
  return value_;
}
