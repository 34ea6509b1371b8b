// MathLibrary: the C library's mathematical functions, found in libm when a
// script first calls one. Linking libm would map it into every process at
// start-up, which costs a hello page about a tenth of its time, while most
// pages never take a sine.
#ifndef SORN_SCRIPT_MATHLIBRARY_H
#define SORN_SCRIPT_MATHLIBRARY_H

typedef double (*MathUnary)(double);
typedef double (*MathBinary)(double, double);

// The function of libm by its C name; one that cannot be found answers NaN.
MathUnary FindMathUnary(const char* name);
MathBinary FindMathBinary(const char* name);

// pow, as the power operator and the power built-in compute it.
double MathPower(double x, double y);

#endif
