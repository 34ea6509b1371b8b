// Numeric built-ins. Results are written as arithmetic writes them: "%f"
// without trailing zeros and point.
#include <math.h>
#include <stdlib.h>

#include "script/Builtins.h"
#include "script/ExpressionOperator.h"

namespace {

double Real(VariableTree* parameters, const char* name) { return atof(BuiltinParameter(parameters, name)); }

// Domain errors are not caught: NaN and infinity are written as they come.
void Unary(VariableTree* parameters, String& result, double (*f)(double)) {
  ExpressionOperator::RealToText(f(Real(parameters, "number")), result);
}

void Binary(VariableTree* parameters, String& result, double (*f)(double, double)) {
  ExpressionOperator::RealToText(f(Real(parameters, "x"), Real(parameters, "y")), result);
}

}  // namespace

void bi_abs(Sorn*, VariableTree* p, String& r) { Unary(p, r, fabs); }
void bi_acos(Sorn*, VariableTree* p, String& r) { Unary(p, r, acos); }
void bi_asin(Sorn*, VariableTree* p, String& r) { Unary(p, r, asin); }
void bi_atan(Sorn*, VariableTree* p, String& r) { Unary(p, r, atan); }
void bi_atan2(Sorn*, VariableTree* p, String& r) { Binary(p, r, atan2); }
void bi_ceil(Sorn*, VariableTree* p, String& r) { Unary(p, r, ceil); }
void bi_cos(Sorn*, VariableTree* p, String& r) { Unary(p, r, cos); }
void bi_cosh(Sorn*, VariableTree* p, String& r) { Unary(p, r, cosh); }
void bi_exp(Sorn*, VariableTree* p, String& r) { Unary(p, r, exp); }
void bi_floor(Sorn*, VariableTree* p, String& r) { Unary(p, r, floor); }
void bi_fmod(Sorn*, VariableTree* p, String& r) { Binary(p, r, fmod); }
void bi_log(Sorn*, VariableTree* p, String& r) { Unary(p, r, log); }
void bi_log10(Sorn*, VariableTree* p, String& r) { Unary(p, r, log10); }
void bi_sin(Sorn*, VariableTree* p, String& r) { Unary(p, r, sin); }
void bi_sinh(Sorn*, VariableTree* p, String& r) { Unary(p, r, sinh); }
void bi_sqrt(Sorn*, VariableTree* p, String& r) { Unary(p, r, sqrt); }
void bi_tan(Sorn*, VariableTree* p, String& r) { Unary(p, r, tan); }
void bi_tanh(Sorn*, VariableTree* p, String& r) { Unary(p, r, tanh); }

void bi_power(Sorn*, VariableTree* parameters, String& result) {
  ExpressionOperator::RealToText(pow(Real(parameters, "number"), Real(parameters, "mantissa")), result);
}

void bi_int(Sorn*, VariableTree* parameters, String& result) {
  result = Decimal(atoi(BuiltinParameter(parameters, "number")));
}

// Keeps its trailing zeros, like ROUND; a negative count of places means
// six, as printf's "%.*f" takes it.
void bi_rnd(Sorn*, VariableTree* parameters, String& result) {
  ExpressionOperator::Round(result, Real(parameters, "number"), atoi(BuiltinParameter(parameters, "num_places")));
}

void bi_random(Sorn*, VariableTree* parameters, String& result) {
  long maximum = atoi(BuiltinParameter(parameters, "maximum"));
  if (maximum <= 0) {
    result.assign('0');
    return;
  }
  result = Decimal(rand() % (maximum + 1));
}
