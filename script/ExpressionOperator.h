// ExpressionOperator: the operators of the expression language and the
// arithmetic on text that they perform. Every value is text; each operator
// reads its operands in its own way and writes its result back as text.
//
// Calling convention (for the tree evaluator):
//
//   String result, error;
//   if (!op->Operate(parser->sorn(), left, right, result, error))
//     parser->ExpressionError(error);   // and stop evaluating
//
// Operate returns 1 with `result` set, or 0 with `error` holding the exact
// message text; on failure `result` is left untouched. A unary operator
// (BITOC, NOT) reads its only operand from `left`. `result` may be the same
// object as `left` or `right`. `sorn` is used by CRYPT alone and may be null
// for every other operator.
#ifndef SORN_SCRIPT_EXPRESSIONOPERATOR_H
#define SORN_SCRIPT_EXPRESSIONOPERATOR_H

#include "core/String.h"
#include "script/Expression.h"

class Sorn;

// Operation codes, the `opcode` column of the operator table.
enum OperatorCode {
  OpAdd = 0,
  OpSubtract = 1,
  OpConcatenate = 2,
  OpBitAnd = 3,
  OpBitOr = 4,
  OpBitXor = 5,
  OpBitComplement = 6,
  OpBitShiftLeft = 7,
  OpBitShiftRight = 8,
  OpDivide = 9,
  OpMultiply = 10,
  OpAnd = 11,
  OpOr = 12,
  OpIn = 13,
  OpCaseIn = 14,
  OpEndIn = 15,
  OpEndCaseIn = 16,
  OpEqual = 17,
  OpNotEqual = 18,
  OpGreaterEqual = 19,
  OpLessEqual = 20,
  OpLess = 21,
  OpGreater = 22,
  OpNot = 23,
  OpFormat = 24,
  OpRound = 25,
  OpCrypt = 26,
  OpModulo = 27,
  OpSubstring = 28,
  OpPower = 29,
  OpNone = 30,
};

// One row of the operator table. A higher precedence binds tighter;
// needsLeft is 0 for an operator that may stand where an operand is
// expected.
struct _OperatorInfo {
  const char* name;
  int length;
  int precedence;
  int opcode;
  int needsLeft;
};

class ExpressionOperator : public ExpressionElement {
 public:
  // Thirty operators in search order, then a row with an empty name and
  // opcode OpNone.
  enum { kOperatorCount = 30 };
  static const _OperatorInfo kOperators[kOperatorCount + 1];

  explicit ExpressionOperator(const _OperatorInfo* info) : info_(info) {}

  // The row whose name has `length` characters and equals the text without
  // regard to case, searched in table order; null when there is none.
  static const _OperatorInfo* Find(const char* text, int length);
  static const _OperatorInfo* Find(const String& token) { return Find(token.chars(), token.length()); }

  const _OperatorInfo* info() const { return info_; }
  int Precedence() const { return info_->precedence; }
  int opcode() const { return info_->opcode; }
  int needsleft() const { return info_->needsLeft; }

  // Operators are run through Operate: Resolve does nothing and returns 0.
  int Resolve(ScriptParser* parser, String& result) override;
  // Appends the operator's name as it stands in the table.
  void Tokenize(String& result) override;
  int IsOperator() override { return 1; }

  int Operate(Sorn* sorn, const String& left, const String& right, String& result,
              String& error) const {
    return Operate(info_->opcode, sorn, left, right, result, error);
  }
  // The same with a left operand the caller gives up: a concatenation
  // grows it in place instead of copying it.
  int Operate(Sorn* sorn, String&& left, const String& right, String& result, String& error) const;
  // The same by operation code; an opcode of OpNone or more returns 1 and
  // leaves `result` alone.
  static int Operate(int opcode, Sorn* sorn, const String& left, const String& right,
                     String& result, String& error);

  // -2 when either text is not wholly a number to strtod, else -1, 0 or 1.
  static int NumberCompare(const String& a, const String& b);
  // NumberCompare, falling back to a byte comparison; only the sign counts.
  static int Compare(const String& a, const String& b);

  // `value` with `digits` decimals as "%.*f" writes it; a negative count
  // means six. Always 1.
  static int Round(String& result, double value, int digits);
  // crypt(3) of `value` through the host, with a salt of the first two
  // characters of `alphabet` (one character is doubled). 0 with `error`
  // set when the alphabet is empty.
  static int Crypt(Sorn* sorn, String& result, const String& value, const String& alphabet,
                   String& error);
  // `value` cut by a "start,length" range. Always 1.
  static int SubStr(String& result, const String& value, const String& range);
  // `value` rewritten by a Format pattern; 0 with `error` set when the
  // value is longer than the work buffer or the engine overflows.
  static int Fmt(String& result, const String& value, const String& pattern, String& error);

  // A real as "%f" writes it, without trailing zeros and then without a
  // trailing point: 2.5 is "2.5", 3.0 is "3", 1.0/3 is "0.333333".
  static void RealToText(double value, String& result);
  // An integer as "%ld" writes it.
  static void IntegerToText(long value, String& result);

 private:
  const _OperatorInfo* info_;
};

#endif
