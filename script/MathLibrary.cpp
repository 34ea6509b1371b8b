#include "script/MathLibrary.h"

#include <dlfcn.h>

#include <cmath>

namespace {

double NotFound1(double) { return std::nan(""); }
double NotFound2(double, double) { return std::nan(""); }

// Opened once and kept for the life of the process; never changes after.
void* Symbol(const char* name) {
  static void* const library = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
  return library != nullptr ? dlsym(library, name) : nullptr;
}

}  // namespace

MathUnary FindMathUnary(const char* name) {
  void* symbol = Symbol(name);
  return symbol != nullptr ? reinterpret_cast<MathUnary>(symbol) : NotFound1;
}

MathBinary FindMathBinary(const char* name) {
  void* symbol = Symbol(name);
  return symbol != nullptr ? reinterpret_cast<MathBinary>(symbol) : NotFound2;
}

double MathPower(double x, double y) {
  static const MathBinary power = FindMathBinary("pow");
  return power(x, y);
}
