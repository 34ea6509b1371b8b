// The registration table of the built-ins, and those that stand in no
// family of their own: codings, the session id, variable lists, packages
// and the request's languages.
#include "script/Builtins.h"

#include "core/Sorn.h"
#include "script/Variables.h"

namespace {

const char kInstant[] = "time_t, time_zone";
const char kText[] = "string";
const char kNumber[] = "number";
const char kPath[] = "path";
const char kSourceDest[] = "source, dest";

// In registration order.
const BuiltinDescriptor kBuiltins[] = {
    {"time_t_month", kInstant, bi_time_t_month},
    {"time_t_year", kInstant, bi_time_t_year},
    {"time_t_hour", kInstant, bi_time_t_hour},
    {"time_t_min", kInstant, bi_time_t_min},
    {"time_t_sec", kInstant, bi_time_t_sec},
    {"time_t_dayofweek", kInstant, bi_time_t_dayofweek},
    {"time_t_dayofmonth", kInstant, bi_time_t_dayofmonth},
    {"time_t_dayofyear", kInstant, bi_time_t_dayofyear},
    {"timezone", nullptr, bi_timezone},
    {"mktime_t", "year, month, dayofmonth, hours, minutes, seconds, time_zone", bi_mktime_t},
    {"asciivalue", "char", bi_asciivalue},
    {"asciichar", "ascii", bi_asciichar},
    {"substring", "string, start, length", bi_substring},
    {"isalpha", kText, bi_isalpha},
    {"isupper", kText, bi_isupper},
    {"islower", kText, bi_islower},
    {"isdigit", kText, bi_isdigit},
    {"isxdigit", kText, bi_isxdigit},
    {"isalnum", kText, bi_isalnum},
    {"isspace", kText, bi_isspace},
    {"ispunct", kText, bi_ispunct},
    {"isprint", kText, bi_isprint},
    {"isgraph", kText, bi_isgraph},
    {"iscntrl", kText, bi_iscntrl},
    {"isascii", kText, bi_isascii},
    {"rtrim", kText, bi_rtrim},
    {"ltrim", kText, bi_ltrim},
    {"toupper", kText, bi_toupper},
    {"tolower", kText, bi_tolower},
    {"len", kText, bi_len},
    {"padl", "string, length, pad", bi_padl},
    {"padr", "string, length, pad", bi_padr},
    {"glosub", "string, search, replace", bi_glosub},
    {"gettoken", "string, separators, position", bi_gettoken},
    {"abs", kNumber, bi_abs},
    {"acos", kNumber, bi_acos},
    {"asin", kNumber, bi_asin},
    {"atan", kNumber, bi_atan},
    {"atan2", "x, y", bi_atan2},
    {"ceil", kNumber, bi_ceil},
    {"cos", kNumber, bi_cos},
    {"cosh", kNumber, bi_cosh},
    {"exp", kNumber, bi_exp},
    {"floor", kNumber, bi_floor},
    {"fmod", "x, y", bi_fmod},
    {"int", kNumber, bi_int},
    {"log", kNumber, bi_log},
    {"log10", kNumber, bi_log10},
    {"power", "number, mantissa", bi_power},
    {"rnd", "number, num_places", bi_rnd},
    {"random", "maximum", bi_random},
    {"sin", kNumber, bi_sin},
    {"sinh", kNumber, bi_sinh},
    {"sqrt", kNumber, bi_sqrt},
    {"tan", kNumber, bi_tan},
    {"tanh", kNumber, bi_tanh},
    {"fexists", kPath, bi_fexists},
    {"fmkdir", kPath, bi_fmkdir},
    {"fdelete", kPath, bi_fdelete},
    {"fcopy", kSourceDest, bi_fcopy},
    {"frename", kSourceDest, bi_frename},
    {"fchmod", "path, mode", bi_fchmod},
    {"fsize", kPath, bi_fsize},
    {"fmode", kPath, bi_fmode},
    {"fsymlink", kSourceDest, bi_fsymlink},
    {"sexists", kPath, bi_sexists},
    {"smkdir", kPath, bi_smkdir},
    {"sdelete", kPath, bi_sdelete},
    {"scopy", kSourceDest, bi_scopy},
    {"srename", kSourceDest, bi_srename},
    {"schmod", "path, mode", bi_schmod},
    {"ssize", kPath, bi_ssize},
    {"smode", kPath, bi_smode},
    {"ssymlink", kSourceDest, bi_ssymlink},
    {"fscopy", kSourceDest, bi_fscopy},
    {"sfcopy", kSourceDest, bi_sfcopy},
    {"fsrename", kSourceDest, bi_fsrename},
    {"sfrename", kSourceDest, bi_sfrename},
    {"encodeattribute", "attribute", bi_encodeattribute},
    {"decodeattribute", "attribute", bi_decodeattribute},
    {"encodeentities", kText, bi_encodeentities},
    {"decodeentities", kText, bi_decodeentities},
    {"makesessionid", nullptr, bi_makesessionid},
    {"sorn_getvarlist", "scope", bi_sorn_getvarlist},
    {"sorn_package_list", nullptr, bi_sorn_package_list},
    {"sorn_package_name", "code", bi_sorn_package_name},
    {"sorn_package_description", "code", bi_sorn_package_description},
    {"sorn_package_version", "code", bi_sorn_package_version},
    {"sorn_package_defaultpath", "code", bi_sorn_package_defaultpath},
    {"sorn_package_extract", "code, directory, reserved", bi_sorn_package_extract},
    {"sorn_setlanguage", "language", bi_sorn_setlanguage},
    {"sorn_setdefaultlanguage", "language", bi_sorn_setdefaultlanguage},
};

}  // namespace

const BuiltinDescriptor* BuiltinTable(int* count) {
  *count = (int)(sizeof kBuiltins / sizeof kBuiltins[0]);
  return kBuiltins;
}

const String& BuiltinParameter(VariableTree* parameters, const char* name) {
  static const String kNone;
  Variable* v = parameters != nullptr ? parameters->Find(name) : nullptr;
  return v != nullptr ? v->value() : kNone;
}

void bi_encodeattribute(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "attribute");
  Sorn::EncodeAttribute(result);
}

void bi_decodeattribute(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "attribute");
  Sorn::DecodeAttribute(result);
}

void bi_encodeentities(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "string");
  Sorn::EncodeEntities(result);
}

void bi_decodeentities(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "string");
  Sorn::DecodeEntities(result);
}

void bi_makesessionid(Sorn* sorn, VariableTree*, String& result) { result = sorn->MakeSessionID(); }

void bi_sorn_getvarlist(Sorn* sorn, VariableTree* parameters, String& result) {
  const String& scope = BuiltinParameter(parameters, "scope");
  VariableList list(0);
  Variables* vars = sorn->vars();
  if (scope.matches("l") || scope.matches("local"))
    vars->GetLocalVariableList(list);
  else if (scope.matches("g") || scope.matches("global"))
    vars->GetGlobalVariableList(list);
  else if (scope.matches("s") || scope.matches("system"))
    vars->GetSystemVariableList(list);
  else
    return;
  for (Variable* v = list.First(); v != nullptr; v = list.Next()) {
    if (!result.empty()) result.cat(',');
    result.cat(v->name());
  }
}

// No package is enabled on this host yet: the list is empty, every code
// unknown.
void bi_sorn_package_list(Sorn*, VariableTree*, String&) {}
void bi_sorn_package_name(Sorn*, VariableTree*, String&) {}
void bi_sorn_package_description(Sorn*, VariableTree*, String&) {}
void bi_sorn_package_version(Sorn*, VariableTree*, String&) {}
void bi_sorn_package_defaultpath(Sorn*, VariableTree*, String&) {}

void bi_sorn_package_extract(Sorn*, VariableTree* parameters, String& result) {
  result = "Package '" + BuiltinParameter(parameters, "code") + "' is not available";
}

void bi_sorn_setlanguage(Sorn* sorn, VariableTree* parameters, String&) {
  sorn->SetLanguage(BuiltinParameter(parameters, "language"));
}

void bi_sorn_setdefaultlanguage(Sorn* sorn, VariableTree* parameters, String&) {
  sorn->SetDefaultLanguage(BuiltinParameter(parameters, "language"));
}
