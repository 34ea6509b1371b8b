#include "script/ExpressionOperator.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/Keys.h"
#include "core/Sorn.h"
#include "script/Format.h"
#include "script/MathLibrary.h"

namespace {

const char kDivideByZero[] = "Divide by 0";
const char kFmtTooLong[] = "The left operand to the FMT operator is limited to 512 characters";
const char kCryptAlphabet[] = "The CRYPT operator expects a non-empty alphabet";
const char kCryptNoHost[] = "The CRYPT operator has no host to run on";

// Room for "%f" of the largest double (309 digits, sign, point, six
// decimals), and for ROUND up to kMaxRoundDigits decimals. Beyond about
// 1100 decimals "%f" of a double only adds zeros.
const int kRealBuffer = 336;
const int kMaxRoundDigits = 1100;

// Integral values below this take the integer path of RealToText.
const double kIntegerPathLimit = 1e15;

// Short plain integers, the usual operands, are exact without strtod: an
// optional sign and at most 15 digits, nothing else.
bool PlainInteger(const char* p, double& value) {
  const char* digits = p + (*p == '-' || *p == '+');
  int n = 0;
  long long whole = 0;
  while (digits[n] >= '0' && digits[n] <= '9' && n < 16) whole = whole * 10 + (digits[n++] - '0');
  if (n == 0 || n > 15 || digits[n] != '\0') return false;
  value = *p == '-' ? -(double)whole : (double)whole;
  return true;
}

inline double ToReal(const String& s) {
  double value;
  return PlainInteger(s.chars(), value) ? value : strtod(s.chars(), nullptr);
}

// The text's leading integer cut to 32 bits, as a 32-bit long would hold it.
inline int32_t ToInt32(const String& s) {
  long value = strtol(s.chars(), nullptr, 10);
  return (int32_t)(uint32_t)(unsigned long)value;
}

inline void SetBoolean(String& result, bool value) { result.assign(value ? '1' : '0'); }

// strtod must consume the whole text, and an overflow to an infinite
// value (judged by errno, which is not cleared first) is no number.
bool ReadNumber(const String& s, double& value) {
  if (PlainInteger(s.chars(), value)) return true;
  char* end = nullptr;
  value = strtod(s.chars(), &end);
  if (*end != '\0') return false;
  if ((value == HUGE_VAL || value == -HUGE_VAL) && errno == ERANGE) return false;
  return true;
}

// One "%u" conversion of scanf: white space, an optional sign, decimal
// digits; the value wraps to 32 bits.
bool ScanUnsigned(const char*& p, uint32_t& value) {
  const char* q = p;
  while (isspace((unsigned char)*q)) q++;
  bool negative = false;
  if (*q == '+' || *q == '-') negative = *q++ == '-';
  if (!isdigit((unsigned char)*q)) return false;
  uint32_t n = 0;
  while (isdigit((unsigned char)*q)) n = n * 10u + (uint32_t)(*q++ - '0');
  value = negative ? 0u - n : n;
  p = q;
  return true;
}

int ClampToInt(long long n) {
  if (n > INT32_MAX) return INT32_MAX;
  if (n < INT32_MIN) return INT32_MIN;
  return (int)n;
}

// Position from 0 of the first occurrence of needle in haystack, or -1.
int FindText(const String& needle, const String& haystack, bool ignorecase) {
  if (!ignorecase) return haystack.index(needle.chars());
  return haystack.upper().index(needle.upper().chars());
}

}  // namespace

const _OperatorInfo ExpressionOperator::kOperators[kOperatorCount + 1] = {
    {"+", 1, 3, OpAdd, 1},
    {"-", 1, 3, OpSubtract, 1},
    {"$", 1, 3, OpConcatenate, 1},
    {"BITAND", 6, 3, OpBitAnd, 1},
    {"BITOR", 5, 3, OpBitOr, 1},
    {"BITXOR", 6, 3, OpBitXor, 1},
    {"BITOC", 5, 3, OpBitComplement, 0},
    {"BITSL", 5, 3, OpBitShiftLeft, 1},
    {"BITSR", 5, 3, OpBitShiftRight, 1},
    {"/", 1, 4, OpDivide, 1},
    {"*", 1, 4, OpMultiply, 1},
    {"MOD", 3, 4, OpModulo, 1},
    {"AND", 3, 1, OpAnd, 1},
    {"OR", 2, 1, OpOr, 1},
    {"IN", 2, 2, OpIn, 1},
    {"CIN", 3, 2, OpCaseIn, 1},
    {"EIN", 3, 2, OpEndIn, 1},
    {"ECIN", 4, 2, OpEndCaseIn, 1},
    {"EQ", 2, 2, OpEqual, 1},
    {"NE", 2, 2, OpNotEqual, 1},
    {"GE", 2, 2, OpGreaterEqual, 1},
    {"LE", 2, 2, OpLessEqual, 1},
    {"LT", 2, 2, OpLess, 1},
    {"GT", 2, 2, OpGreater, 1},
    {"FMT", 3, 5, OpFormat, 1},
    {"ROUND", 5, 5, OpRound, 1},
    {"CRYPT", 5, 5, OpCrypt, 1},
    {"SUBSTR", 6, 5, OpSubstring, 1},
    {"POW", 3, 5, OpPower, 1},
    {"NOT", 3, 6, OpNot, 0},
    {"", 0, 0, OpNone, 0},
};

// The truth of a value: false when empty or made of '0' characters with at
// most one '.', true otherwise.
int Expression::IsTrue(const String& value) {
  int length = value.length();
  if (length == 0) return 0;
  const char* text = value.chars();
  int points = 0;
  for (int i = 0; i < length; i++) {
    if (text[i] == '0') continue;
    if (text[i] == '.' && ++points == 1) continue;
    return 1;
  }
  return 0;
}

const _OperatorInfo* ExpressionOperator::Find(const char* text, int length) {
  for (const _OperatorInfo* row = kOperators; row->length > 0; row++) {
    if (row->length == length && CompareKeys(row->name, text, (size_t)length) == 0) return row;
  }
  return nullptr;
}

int ExpressionOperator::Resolve(ScriptParser*, String&) { return 0; }

void ExpressionOperator::Tokenize(String& result) { result.cat(info_->name); }

void ExpressionOperator::IntegerToText(long value, String& result) {
  char buffer[24];
  std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, value);
  result.assign(buffer, (int)(r.ptr - buffer));
}

void ExpressionOperator::RealToText(double value, String& result) {
  char buffer[kRealBuffer];
  if (std::fabs(value) < kIntegerPathLimit) {
    long long whole = (long long)value;
    if ((double)whole == value) {
      // "%f" keeps the sign of a negative zero.
      if (whole == 0 && std::signbit(value)) {
        result.assign("-0", 2);
        return;
      }
      std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, whole);
      result.assign(buffer, (int)(r.ptr - buffer));
      return;
    }
  }
  int length = snprintf(buffer, sizeof buffer, "%f", value);
  if (length <= 0 || length >= (int)sizeof buffer) {
    result.assign("", 0);
    return;
  }
  // Back over trailing zeros, then over the point they stood behind.
  // Infinity and NaN have no point and end in a letter.
  const char* last = buffer + length - 1;
  while (last > buffer && *last == '0') last--;
  if (*last == '.') last--;
  result.assign(buffer, (int)(last - buffer + 1));
}

int ExpressionOperator::NumberCompare(const String& a, const String& b) {
  double x, y;
  if (!ReadNumber(a, x) || !ReadNumber(b, y)) return -2;
  if (x == y) return 0;
  return x > y ? 1 : -1;
}

int ExpressionOperator::Compare(const String& a, const String& b) {
  int order = NumberCompare(a, b);
  if (order != -2) return order;
  return strcmp(a.chars(), b.chars());
}

int ExpressionOperator::Round(String& result, double value, int digits) {
  if (digits < 0) digits = 6;
  if (digits > kMaxRoundDigits) digits = kMaxRoundDigits;
  char buffer[kRealBuffer + kMaxRoundDigits];
  int length = snprintf(buffer, sizeof buffer, "%.*f", digits, value);
  result.assign(buffer, length > 0 && length < (int)sizeof buffer ? length : 0);
  return 1;
}

int ExpressionOperator::Crypt(Sorn* sorn, String& result, const String& value,
                              const String& alphabet, String& error) {
  if (alphabet.empty()) {
    error = kCryptAlphabet;
    return 0;
  }
  if (sorn == nullptr) {
    error = kCryptNoHost;
    return 0;
  }
  char salt[3] = {alphabet[0], alphabet.length() > 1 ? alphabet[1] : alphabet[0], 0};
  result = sorn->Crypt(value, String(salt));
  return 1;
}

int ExpressionOperator::SubStr(String& result, const String& value, const String& range) {
  const char* p = range.chars();
  uint32_t first = 0, count = 0;
  if (!ScanUnsigned(p, first) || *p++ != ',' || !ScanUnsigned(p, count)) {
    result.assign("", 0);
    return 1;
  }
  long long start = (int32_t)first;
  long long length = (int32_t)count;
  // A start of 1 or more counts from 1; below that the range is taken as
  // it stands, so 0 counts from 0.
  if (start >= 1) start--;
  result = value.at(ClampToInt(start), ClampToInt(start + length));
  return 1;
}

int ExpressionOperator::Fmt(String& result, const String& value, const String& pattern,
                            String& error) {
  if (value.length() > Format::kLimit) {
    error = kFmtTooLong;
    return 0;
  }
  char work[Format::kLimit + 1];
  memcpy(work, value.chars(), (size_t)value.length());
  work[value.length()] = 0;
  Format format;
  format.doFmt(work, pattern.chars());
  if (!format.error().empty()) {
    error = format.error();
    return 0;
  }
  result.assign(work, -1);
  return 1;
}

int ExpressionOperator::Operate(Sorn* sorn, String&& left, const String& right, String& result,
                                String& error) const {
  if (info_->opcode != OpConcatenate || &result == &right)
    return Operate(info_->opcode, sorn, left, right, result, error);
  result = static_cast<String&&>(left);
  result.cat(right);
  return 1;
}

int ExpressionOperator::Operate(int opcode, Sorn* sorn, const String& left, const String& right,
                                String& result, String& error) {
  switch (opcode) {
    case OpAdd:
      RealToText(ToReal(left) + ToReal(right), result);
      return 1;
    case OpSubtract:
      RealToText(ToReal(left) - ToReal(right), result);
      return 1;
    case OpMultiply:
      RealToText(ToReal(left) * ToReal(right), result);
      return 1;
    case OpDivide: {
      double divisor = ToReal(right);
      if (divisor == 0.0) {
        error = kDivideByZero;
        return 0;
      }
      RealToText(ToReal(left) / divisor, result);
      return 1;
    }
    case OpPower:
      RealToText(MathPower(ToReal(left), ToReal(right)), result);
      return 1;
    case OpModulo: {
      int32_t divisor = ToInt32(right);
      if (divisor == 0) {
        error = kDivideByZero;
        return 0;
      }
      // INT32_MIN % -1 overflows; the remainder by -1 is 0 anyway.
      IntegerToText(divisor == -1 ? 0 : ToInt32(left) % divisor, result);
      return 1;
    }
    case OpConcatenate:
      if (&result == &right) {
        String joined(left);
        joined.cat(right);
        result = joined;
      } else {
        if (&result != &left) result = left;
        result.cat(right);
      }
      return 1;
    case OpBitAnd:
      IntegerToText(ToInt32(left) & ToInt32(right), result);
      return 1;
    case OpBitOr:
      IntegerToText(ToInt32(left) | ToInt32(right), result);
      return 1;
    case OpBitXor:
      IntegerToText(ToInt32(left) ^ ToInt32(right), result);
      return 1;
    case OpBitComplement:
      IntegerToText(~ToInt32(left), result);
      return 1;
    case OpBitShiftLeft: {
      uint32_t shift = (uint32_t)ToInt32(right) & 31u;
      IntegerToText((int32_t)((uint32_t)ToInt32(left) << shift), result);
      return 1;
    }
    case OpBitShiftRight: {
      uint32_t shift = (uint32_t)ToInt32(right) & 31u;
      int32_t value = ToInt32(left);
      // Arithmetic shift: the sign fills from the left.
      IntegerToText(value < 0 ? ~(~value >> shift) : value >> shift, result);
      return 1;
    }
    case OpAnd:
      SetBoolean(result, Expression::IsTrue(left) && Expression::IsTrue(right));
      return 1;
    case OpOr:
      SetBoolean(result, Expression::IsTrue(left) || Expression::IsTrue(right));
      return 1;
    case OpNot:
      SetBoolean(result, !Expression::IsTrue(left));
      return 1;
    case OpEqual:
      SetBoolean(result, Compare(left, right) == 0);
      return 1;
    case OpNotEqual:
      SetBoolean(result, Compare(left, right) != 0);
      return 1;
    case OpGreaterEqual:
      SetBoolean(result, Compare(left, right) >= 0);
      return 1;
    case OpLessEqual:
      SetBoolean(result, Compare(left, right) <= 0);
      return 1;
    case OpLess:
      SetBoolean(result, Compare(left, right) < 0);
      return 1;
    case OpGreater:
      SetBoolean(result, Compare(left, right) > 0);
      return 1;
    case OpIn:
    case OpCaseIn: {
      // An empty left text is found at position 1.
      int position = left.chars()[0] == 0 ? 1 : FindText(left, right, opcode == OpCaseIn) + 1;
      IntegerToText(position, result);
      return 1;
    }
    case OpEndIn:
    case OpEndCaseIn: {
      // An empty left text gives 0, like a text that is absent.
      int end = 0;
      if (left.chars()[0] != 0) {
        int at = FindText(left, right, opcode == OpEndCaseIn);
        if (at >= 0) end = at + (int)strlen(left.chars());
      }
      IntegerToText(end, result);
      return 1;
    }
    case OpFormat:
      return Fmt(result, left, right, error);
    case OpRound:
      return Round(result, ToReal(left), ToInt32(right));
    case OpCrypt:
      return Crypt(sorn, result, left, right, error);
    case OpSubstring:
      return SubStr(result, left, right);
    default:
      return 1;
  }
}
