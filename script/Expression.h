// Expression: reads one expression from the script text (or from its
// tokenized form) into a tree, and evaluates it to text.
#ifndef SORN_SCRIPT_EXPRESSION_H
#define SORN_SCRIPT_EXPRESSION_H

#include "core/List.h"
#include "core/Stack.h"
#include "core/String.h"
#include "script/Variables.h"

class Function;
class ScriptParser;
struct _OperatorInfo;

// One element of an expression tree: an operator, a constant, a variable
// or a function call.
class ExpressionElement {
 public:
  virtual ~ExpressionElement() {}
  // 1 with result set, 0 after a reported error.
  virtual int Resolve(ScriptParser* parser, String& result) = 0;
  // Appends the element's tokenized text.
  virtual void Tokenize(String& result) = 0;
  virtual int IsOperator() { return 0; }
};

// Reader results.
enum ExpressionStatus {
  ExpressionFailed = 0,
  ExpressionReadAll = 1,    // ReadTokenized: the text was read to its end
  ExpressionEnded = 2,      // at the separator, or before a foreign token
  ExpressionEmpty = 3,
  ExpressionTerminated = 4,  // at the terminator
  ExpressionSeparator = 5,   // internal: the separator was met
};

class ExpressionNode {
 public:
  ExpressionNode() : parent(nullptr), left(nullptr), right(nullptr), data(nullptr) {}
  ~ExpressionNode();
  ExpressionNode(const ExpressionNode&) = delete;
  ExpressionNode& operator=(const ExpressionNode&) = delete;
  void Setleftchild(ExpressionNode* node);
  void Setrightchild(ExpressionNode* node);

  ExpressionNode* parent;
  ExpressionNode* left;
  ExpressionNode* right;
  ExpressionElement* data;
};

class ExpressionTree {
 public:
  explicit ExpressionTree(ScriptParser* parser);
  ~ExpressionTree();
  ExpressionTree(const ExpressionTree&) = delete;
  ExpressionTree& operator=(const ExpressionTree&) = delete;

  // Places an element by precedence; the tree takes it.
  void Insert(ExpressionElement* element);
  void OpenParen();
  // 0 when no parenthesis is open.
  int CloseParen();
  int Resolve(String& result);
  void Tokenize(String& result);
  // Operators and parentheses placed so far; the tree is this deep at most.
  int size() const { return size_; }

 private:
  int ResolveNode(ExpressionNode* node, String& result);
  void TokenizeNode(ExpressionNode* node, String& result);

  ScriptParser* parser_;
  ExpressionNode* root_;
  ExpressionNode* current_;
  Stack<ExpressionNode> parens_;
  int size_;
};

class Expression {
 public:
  // Bounds on what one expression may hold, so that evaluating it cannot
  // exhaust the stack: operators and parentheses in one tree, and calls
  // nested in the parameters of calls.
  enum { kMaxSize = 1000, kMaxNesting = 64 };

  explicit Expression(ScriptParser* parser);
  // Keeps only the parser; the copy's tree is empty.
  Expression(const Expression& other);
  Expression& operator=(const Expression&) = delete;
  ~Expression();

  // Reads from the parser's buffer. A separator of ' ' means none; check 0
  // leaves function calls unbound.
  int GetNextExpression(char separator, char terminator, char quote, int check);
  int GetNextToken(String& token, int haveoperand, char separator, char terminator, char quote,
                   int depth);
  // 1 with result set; result is untouched by a failure.
  int Resolve(String& result);
  void Tokenize(String& result);
  // Rebuilds the tree from tokenized text, from *position (null: from 0).
  int ReadTokenized(const String& text, int* position, char separator, char terminator);
  static const _OperatorInfo* IsOperator(const String& token);
  // The language's truth of a value.
  static int IsTrue(const String& value);

  ScriptParser* parser() const { return parser_; }
  void SetNesting(int nesting) { nesting_ = nesting; }

 private:
  // Reports an expression that has grown past the bounds; 1 when it has.
  int TooComplex();
  int GetChar();
  void UnGetChar();

  ScriptParser* parser_;
  ExpressionTree tree_;
  int nesting_ = 0;
  // Raw characters read from the buffer, so that putting them back keeps
  // the line count right.
  String history_;
};

inline const char* ElementName(const Expression*) { return ""; }

class ExpressionConstant : public ExpressionElement {
 public:
  explicit ExpressionConstant(const String& token);
  int Resolve(ScriptParser* parser, String& result) override;
  void Tokenize(String& result) override;

 private:
  String token_;
  String value_;  // the token less its quotes, worked out once
};

class ExpressionVariable : public ExpressionElement {
 public:
  explicit ExpressionVariable(const String& name) : name_(name), scoped_(name.contains('.')) {}
  int Resolve(ScriptParser* parser, String& result) override;
  void Tokenize(String& result) override { result.cat(name_); }

 private:
  String name_;
  bool scoped_;
  VariableSlot slot_;
};

class ExpressionFunction : public ExpressionElement {
 public:
  explicit ExpressionFunction(const String& name) : name_(name), function_(nullptr), parameters_(1) {}
  int Resolve(ScriptParser* parser, String& result) override;
  void Tokenize(String& result) override;

  // nesting: how deep the calling expression lies in parameter lists.
  int GetParameterList(ScriptParser* parser, char quote, int nesting);
  int GetTokenizedParameterList(ScriptParser* parser, const String& text, int* position, int nesting);
  int CheckFunctionCall(ScriptParser* parser);

 private:
  String name_;
  Function* function_;
  List<Expression> parameters_;
};

#endif
