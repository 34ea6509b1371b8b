// Numeric built-ins. Results are written as arithmetic writes them: "%f"
// without trailing zeros and point.
#include <math.h>
#include <stdlib.h>

#include "script/Builtins.h"
#include "script/ExpressionOperator.h"
#include "script/MathLibrary.h"

namespace {

double Real(VariableTree* parameters, const char* name) { return atof(BuiltinParameter(parameters, name)); }

// Domain errors are not caught: NaN and infinity are written as they come.
void Unary(VariableTree* parameters, String& result, double (*f)(double)) {
  ExpressionOperator::RealToText(f(Real(parameters, "number")), result);
}

void Binary(VariableTree* parameters, String& result, double (*f)(double, double)) {
  ExpressionOperator::RealToText(f(Real(parameters, "x"), Real(parameters, "y")), result);
}

// A function of libm, looked up at its built-in's first call.
#define LIBM_UNARY(name)                                  \
  [](double x) {                                          \
    static const MathUnary f = FindMathUnary(#name);      \
    return f(x);                                          \
  }
#define LIBM_BINARY(name)                                 \
  [](double x, double y) {                                \
    static const MathBinary f = FindMathBinary(#name);    \
    return f(x, y);                                       \
  }

}  // namespace

void bi_abs(Sorn*, VariableTree* p, String& r) { Unary(p, r, fabs); }
void bi_acos(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(acos)); }
void bi_asin(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(asin)); }
void bi_atan(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(atan)); }
void bi_atan2(Sorn*, VariableTree* p, String& r) { Binary(p, r, LIBM_BINARY(atan2)); }
void bi_ceil(Sorn*, VariableTree* p, String& r) { Unary(p, r, ceil); }
void bi_cos(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(cos)); }
void bi_cosh(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(cosh)); }
void bi_exp(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(exp)); }
void bi_floor(Sorn*, VariableTree* p, String& r) { Unary(p, r, floor); }
void bi_fmod(Sorn*, VariableTree* p, String& r) { Binary(p, r, LIBM_BINARY(fmod)); }
void bi_log(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(log)); }
void bi_log10(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(log10)); }
void bi_sin(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(sin)); }
void bi_sinh(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(sinh)); }
void bi_sqrt(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(sqrt)); }
void bi_tan(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(tan)); }
void bi_tanh(Sorn*, VariableTree* p, String& r) { Unary(p, r, LIBM_UNARY(tanh)); }

void bi_power(Sorn*, VariableTree* parameters, String& result) {
  ExpressionOperator::RealToText(MathPower(Real(parameters, "number"), Real(parameters, "mantissa")), result);
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
