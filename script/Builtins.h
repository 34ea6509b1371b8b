// The built-in function library: every function a script can call without
// declaring it. Each reads its actual parameters from the tree by declared
// name, writes its value into result (which arrives empty) and never fails:
// a failure shows as the result value and, for the file functions, as an
// entry in the event log. Integers are read with atoi and reals with atof,
// so text that is not a number counts as 0.
#ifndef SORN_SCRIPT_BUILTINS_H
#define SORN_SCRIPT_BUILTINS_H

#include "core/String.h"
#include "script/Function.h"
#include "script/Variable.h"

class Sorn;

// One row of the registration table. parameters is the declared list, or
// null for a function that takes none.
struct BuiltinDescriptor {
  const char* name;
  const char* parameters;
  BuiltinProc proc;
};

// The table in registration order, and its length.
const BuiltinDescriptor* BuiltinTable(int* count);

// The text of a parameter by declared name; empty when it was not passed.
const String& BuiltinParameter(VariableTree* parameters, const char* name);

#define SORN_BUILTIN(name) void bi_##name(Sorn* sorn, VariableTree* parameters, String& result)

// Time (BuiltinTime.cpp).
SORN_BUILTIN(time_t_month);
SORN_BUILTIN(time_t_year);
SORN_BUILTIN(time_t_hour);
SORN_BUILTIN(time_t_min);
SORN_BUILTIN(time_t_sec);
SORN_BUILTIN(time_t_dayofweek);
SORN_BUILTIN(time_t_dayofmonth);
SORN_BUILTIN(time_t_dayofyear);
SORN_BUILTIN(timezone);
SORN_BUILTIN(mktime_t);

// Characters and strings (BuiltinStrings.cpp).
SORN_BUILTIN(asciivalue);
SORN_BUILTIN(asciichar);
SORN_BUILTIN(substring);
SORN_BUILTIN(isalpha);
SORN_BUILTIN(isupper);
SORN_BUILTIN(islower);
SORN_BUILTIN(isdigit);
SORN_BUILTIN(isxdigit);
SORN_BUILTIN(isalnum);
SORN_BUILTIN(isspace);
SORN_BUILTIN(ispunct);
SORN_BUILTIN(isprint);
SORN_BUILTIN(isgraph);
SORN_BUILTIN(iscntrl);
SORN_BUILTIN(isascii);
SORN_BUILTIN(rtrim);
SORN_BUILTIN(ltrim);
SORN_BUILTIN(toupper);
SORN_BUILTIN(tolower);
SORN_BUILTIN(len);
SORN_BUILTIN(padl);
SORN_BUILTIN(padr);
SORN_BUILTIN(glosub);
SORN_BUILTIN(gettoken);

// Numbers (BuiltinNumbers.cpp).
SORN_BUILTIN(abs);
SORN_BUILTIN(acos);
SORN_BUILTIN(asin);
SORN_BUILTIN(atan);
SORN_BUILTIN(atan2);
SORN_BUILTIN(ceil);
SORN_BUILTIN(cos);
SORN_BUILTIN(cosh);
SORN_BUILTIN(exp);
SORN_BUILTIN(floor);
SORN_BUILTIN(fmod);
SORN_BUILTIN(int);
SORN_BUILTIN(log);
SORN_BUILTIN(log10);
SORN_BUILTIN(power);
SORN_BUILTIN(rnd);
SORN_BUILTIN(random);
SORN_BUILTIN(sin);
SORN_BUILTIN(sinh);
SORN_BUILTIN(sqrt);
SORN_BUILTIN(tan);
SORN_BUILTIN(tanh);

// Files, through Sorn::ResolvePath (BuiltinFiles.cpp). The f forms name
// paths in the data directory, the s forms in the script directory; fs and
// sf copy and rename from one to the other. Results: "1" or "0"; fsize and
// ssize the size or "-1"; fmode and smode "0%03o" of the permission bits
// or "-1".
SORN_BUILTIN(fexists);
SORN_BUILTIN(fmkdir);
SORN_BUILTIN(fdelete);
SORN_BUILTIN(fcopy);
SORN_BUILTIN(frename);
SORN_BUILTIN(fchmod);
SORN_BUILTIN(fsize);
SORN_BUILTIN(fmode);
SORN_BUILTIN(fsymlink);
SORN_BUILTIN(sexists);
SORN_BUILTIN(smkdir);
SORN_BUILTIN(sdelete);
SORN_BUILTIN(scopy);
SORN_BUILTIN(srename);
SORN_BUILTIN(schmod);
SORN_BUILTIN(ssize);
SORN_BUILTIN(smode);
SORN_BUILTIN(ssymlink);
SORN_BUILTIN(fscopy);
SORN_BUILTIN(sfcopy);
SORN_BUILTIN(fsrename);
SORN_BUILTIN(sfrename);

// The rest (Builtins.cpp).
SORN_BUILTIN(encodeattribute);
SORN_BUILTIN(decodeattribute);
SORN_BUILTIN(encodeentities);
SORN_BUILTIN(decodeentities);
SORN_BUILTIN(makesessionid);
SORN_BUILTIN(sorn_getvarlist);
SORN_BUILTIN(sorn_package_list);
SORN_BUILTIN(sorn_package_name);
SORN_BUILTIN(sorn_package_description);
SORN_BUILTIN(sorn_package_version);
SORN_BUILTIN(sorn_package_defaultpath);
SORN_BUILTIN(sorn_package_extract);
SORN_BUILTIN(sorn_setlanguage);
SORN_BUILTIN(sorn_setdefaultlanguage);

#undef SORN_BUILTIN

#endif
