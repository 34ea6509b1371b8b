// Expression: reads one expression from the script text (or from its
// tokenized form) into a tree, and evaluates it to text.
#ifndef SORN_SCRIPT_EXPRESSION_H
#define SORN_SCRIPT_EXPRESSION_H

#include "core/String.h"

class ScriptParser;

// One element of an expression tree: an operator, a constant, a variable
// or a function call.
class ExpressionElement {
 public:
  virtual ~ExpressionElement() {}
  // 1 with result set, 0 after a reported error.
  virtual int Resolve(ScriptParser* parser, String& result) = 0;
  virtual void Tokenize(String& result) = 0;
  virtual int IsOperator() { return 0; }
};

class Expression {
 public:
  // The language's truth of a value.
  static int IsTrue(const String& value);
};

#endif
