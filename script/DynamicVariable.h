// DynamicVariable: a variable whose value is computed by the engine on each
// read and which refuses assignment. The time variables read the clock
// afresh each time; sn_gettimevalues gives all their texts at once.
#ifndef SORN_SCRIPT_DYNAMICVARIABLE_H
#define SORN_SCRIPT_DYNAMICVARIABLE_H

#include <sys/time.h>

#include "script/Variable.h"

class Sorn;
class Variables;

class DynamicVariable : public Variable {
 public:
  DynamicVariable(Sorn* sorn, const char* name) : Variable(name, ""), sorn_(sorn) {}
  String& value() override;
  // Changes nothing: stores a message in error() and returns 0.
  int SetValue(const String& value) override;

 protected:
  // The current value text.
  virtual String Generate() = 0;
  Sorn* sorn_;
};

// dyn_time_remaining: seconds left before the global time-out.
class TimeRemainingVariable : public DynamicVariable {
 public:
  explicit TimeRemainingVariable(Sorn* sorn) : DynamicVariable(sorn, "dyn_time_remaining") {}

 protected:
  String Generate() override;
};

// sorn_language: the language of the request.
class LanguageVariable : public DynamicVariable {
 public:
  explicit LanguageVariable(Sorn* sorn) : DynamicVariable(sorn, "sorn_language") {}

 protected:
  String Generate() override;
};

// sorn_defaultlanguage: the default language of the site.
class DefaultLanguageVariable : public DynamicVariable {
 public:
  explicit DefaultLanguageVariable(Sorn* sorn) : DynamicVariable(sorn, "sorn_defaultlanguage") {}

 protected:
  String Generate() override;
};

enum DynamicTimeVariableType {
  DynTimeT = 0,
  DynTmUsec = 1,
  DynTmSec = 2,
  DynTmMin = 3,
  DynTmHour = 4,
  DynTmMday = 5,
  DynTmMon = 6,
  DynStmMon = 7,
  DynTmYear = 8,
  DynTmWday = 9,
  DynStmWday = 10,
  DynTmYday = 11,
  DynTmIsdst = 12,
  DynStmZone = 13,
  DynTimeTypes = 14
};

// The fourteen texts of one clock reading, in the order of the types.
struct STRTM {
  char time_t_text[32];  // seconds since the epoch
  char tm_usec[10];      // microseconds of the reading
  char tm_sec[10];
  char tm_min[10];
  char tm_hour[10];
  char tm_mday[10];
  char tm_mon[10];   // 1 to 12
  char stm_mon[10];  // "Jan" .. "Dec"
  char tm_year[10];  // four digits
  char tm_wday[10];  // 1 (Sunday) to 7
  char stm_wday[10]; // "Sun" .. "Sat"
  char tm_yday[10];  // 1 (1 January) to 366
  char tm_isdst[10];
  char stm_zone[50];  // the daylight-saving zone name, whether or not it applies
};

// Fills values from gettimeofday and the local time; 1 on success, 0 when
// the clock could not be read (the texts are then those of time 0).
int sn_gettimevalues(STRTM* values);
// The texts of the reading now (local time, the zone read by tzset); 1 on
// success, 0 when the local time could not be worked out.
int FormatTimeValues(const struct timeval& now, STRTM* values);
// The text of one type within values.
const char* TimeValueText(const STRTM& values, DynamicTimeVariableType type);
// The live variable name of a type, "dyn_time_t" .. "dyn_stm_zone"; the
// snapshot name of the request start is the same without "dyn_" (+ 4).
const char* DynamicTimeVariableName(DynamicTimeVariableType type);

class DynamicTimeVariable : public DynamicVariable {
 public:
  DynamicTimeVariable(Sorn* sorn, DynamicTimeVariableType type)
      : DynamicVariable(sorn, DynamicTimeVariableName(type)), type_(type) {}
  DynamicTimeVariableType type() const { return type_; }

 protected:
  String Generate() override;

 private:
  DynamicTimeVariableType type_;
};

// Adds to the base system tree of vars the fourteen time variables in type
// order, then dyn_time_remaining, sorn_language and sorn_defaultlanguage.
void AddDynamicVariables(Sorn* sorn, Variables* vars);
// One text of the clock reading at the request's start (time_t, tm_usec,
// ... stm_zone): an ordinary variable, whose text is worked out at its first
// read, since most pages read none and the local time needs the time zone
// file. Assigning to it replaces the text like any variable.
class TimeSnapshotVariable : public Variable {
 public:
  TimeSnapshotVariable(const struct timeval& reading, DynamicTimeVariableType type);
  String& value() override;
  int SetValue(const String& value) override;

 private:
  struct timeval reading_;
  DynamicTimeVariableType type_;
  int known_;
};

// Adds the snapshot of one clock reading as system variables (time_t,
// tm_usec, ... stm_zone).
void AddTimeSnapshotVariables(Variables* vars);

#endif
