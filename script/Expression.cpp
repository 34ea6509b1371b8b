#include "script/Expression.h"

#include <cctype>
#include <cstdio>

#include "core/Buffer.h"
#include "core/Keys.h"
#include "script/ExpressionOperator.h"
#include "script/Function.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"

namespace {

String Quoted(int c) {
  String s("'");
  if (c >= 0) s.cat((char)c);
  s.cat('\'');
  return s;
}

bool IsOperatorChar(int c) {
  return c == '|' || c == '^' || c == '+' || c == '-' || c == '/' || c == '*' || c == '$' || c == '=';
}

}  // namespace

// ---------------------------------------------------------------- nodes

ExpressionNode::~ExpressionNode() {
  delete left;
  delete right;
  delete data;
}

void ExpressionNode::Setleftchild(ExpressionNode* node) {
  left = node;
  if (node) node->parent = this;
}

void ExpressionNode::Setrightchild(ExpressionNode* node) {
  right = node;
  if (node) node->parent = this;
}

ExpressionTree::ExpressionTree(ScriptParser* parser)
    : parser_(parser), root_(new ExpressionNode), current_(root_), parens_(0), size_(0) {}

ExpressionTree::~ExpressionTree() { delete root_; }

static int Precedence(ExpressionElement* e) { return static_cast<ExpressionOperator*>(e)->Precedence(); }

void ExpressionTree::Insert(ExpressionElement* element) {
  if (!element->IsOperator()) {
    ExpressionNode* node = new ExpressionNode;
    node->data = element;
    if (current_->left == nullptr) {
      current_->Setleftchild(node);
      return;
    }
    // An operand straight after a closed parenthesis replaces the group
    // (a group is not taken as an operand); the group's nodes go with it.
    delete current_->right;
    current_->Setrightchild(node);
    return;
  }
  size_++;
  if (current_->data == nullptr) {
    current_->data = element;
    return;
  }
  ExpressionNode* node = new ExpressionNode;
  node->data = element;
  if (Precedence(current_->data) < Precedence(element)) {
    node->Setleftchild(current_->right);
    current_->Setrightchild(node);
    current_ = node;
    return;
  }
  // Climb one step at most: a chain of rising precedences is not unwound.
  ExpressionNode* top = parens_.Top();
  ExpressionNode* parent = current_->parent;
  if (parent != top && parent != nullptr) {
    if (parent->data == nullptr ||
        (parent->data->IsOperator() && Precedence(parent->data) >= Precedence(element)))
      current_ = parent;
  }
  parent = current_->parent;
  if (parent == nullptr) {
    root_ = node;
    node->parent = nullptr;
  } else if (parent->left == current_) {
    parent->Setleftchild(node);
  } else {
    parent->Setrightchild(node);
  }
  node->Setleftchild(current_);
  current_ = node;
}

void ExpressionTree::OpenParen() {
  size_++;
  parens_.Push(current_);
  ExpressionNode* node = new ExpressionNode;
  if (current_->left != nullptr) {
    node->Setleftchild(current_->right);
    current_->Setrightchild(node);
  } else {
    current_->Setleftchild(node);
  }
  current_ = node;
}

int ExpressionTree::CloseParen() {
  if (parens_.Top() == nullptr) return 0;
  current_ = parens_.Pop();
  return 1;
}

int ExpressionTree::Resolve(String& result) { return ResolveNode(root_, result); }

int ExpressionTree::ResolveNode(ExpressionNode* node, String& result) {
  String left, right;
  if (node->left != nullptr && !ResolveNode(node->left, left)) return 0;
  if (node->right != nullptr && !ResolveNode(node->right, right)) return 0;
  if (node->data == nullptr) {
    result = static_cast<String&&>(left);
    return 1;
  }
  if (node->data->IsOperator()) {
    String error;
    Sorn* sorn = parser_ ? parser_->sorn() : nullptr;
    ExpressionOperator* op = static_cast<ExpressionOperator*>(node->data);
    if (!op->Operate(sorn, static_cast<String&&>(left), right, result, error)) {
      if (parser_) parser_->ExpressionError(error);
      return 0;
    }
    return 1;
  }
  return node->data->Resolve(parser_, result);
}

void ExpressionTree::Tokenize(String& result) { TokenizeNode(root_, result); }

void ExpressionTree::TokenizeNode(ExpressionNode* node, String& result) {
  result.cat("( ");
  if (node->left != nullptr) {
    TokenizeNode(node->left, result);
    result.cat(' ');
  }
  if (node->data != nullptr) {
    node->data->Tokenize(result);
    result.cat(' ');
  }
  if (node->right != nullptr) {
    TokenizeNode(node->right, result);
    result.cat(' ');
  }
  result.cat(')');
}

// ------------------------------------------------------------- elements

// A quoted token loses its first and last character, whatever they are.
ExpressionConstant::ExpressionConstant(const String& token) : token_(token), value_(token) {
  if (token_.matches('"', 0) || token_.matches('\'', 0)) value_ = token_.at(1, token_.length() - 1);
}

int ExpressionConstant::Resolve(ScriptParser*, String& result) {
  result = value_;
  return 1;
}

void ExpressionConstant::Tokenize(String& result) {
  if (token_.matches('\'', 0) && !token_.empty()) {
    String inner = token_.at(1, token_.length() - 1);
    String text;
    for (int i = 0; i < inner.length(); i++) {
      if (inner[i] == '"') {
        text.cat("\\\"");
      } else if (inner[i] == '\\' && i + 1 < inner.length() && inner[i + 1] == '\'') {
        text.cat('\'');
        i++;
      } else {
        text.cat(inner[i]);
      }
    }
    result.cat('"').cat(text).cat('"');
  } else if (token_.matches('"', 0) && !token_.empty()) {
    result.cat(token_);
  } else {
    result.cat('"').cat(token_).cat('"');
  }
}

int ExpressionVariable::Resolve(ScriptParser* parser, String& result) {
  if (scoped_) {
    result = parser->vars()->Value(name_);
    return 1;
  }
  Variable* v = parser->vars()->Find(name_, &slot_);
  if (v != nullptr)
    result = v->value();
  else
    result = String();
  return 1;
}

void ExpressionFunction::Tokenize(String& result) {
  result.cat(name_).cat("( ");
  bool first = true;
  for (Expression* e = parameters_.First(); e != nullptr; e = parameters_.Next()) {
    if (!first) result.cat(", ");
    String text;
    e->Tokenize(text);
    result.cat(text);
    first = false;
  }
  result.cat(" )");
}

// Reads parameters while the reader ends at a separator: f() has none,
// f(a,) one, f(a,,b) three (the middle one empty).
template <class Read>
static int CollectParameters(List<Expression>& parameters, ScriptParser* parser, int nesting, Read read) {
  for (;;) {
    Expression* e = new Expression(parser);
    e->SetNesting(nesting + 1);
    int status = read(e);
    if (status == ExpressionFailed) {
      delete e;
      return 0;
    }
    if (status != ExpressionEmpty)
      parameters.Insert(e, ListTail);
    else
      delete e;
    if (status != ExpressionEnded) return 1;
  }
}

int ExpressionFunction::GetParameterList(ScriptParser* parser, char quote, int nesting) {
  return CollectParameters(parameters_, parser, nesting,
                           [quote](Expression* e) { return e->GetNextExpression(',', ')', quote, 1); });
}

int ExpressionFunction::GetTokenizedParameterList(ScriptParser* parser, const String& text, int* position,
                                                  int nesting) {
  return CollectParameters(parameters_, parser, nesting,
                           [&](Expression* e) { return e->ReadTokenized(text, position, ',', ')'); });
}

int ExpressionFunction::CheckFunctionCall(ScriptParser* parser) {
  function_ = parser->FindFunction(name_);
  if (function_ == nullptr && parser->ScanForFunction(name_) == ScanDone) function_ = parser->FindFunction(name_);
  if (function_ == nullptr) {
    parser->ExpressionError("Call to undefined function '" + name_ + "'");
    return 0;
  }
  int declared = function_->parameters().Entries();
  int found = parameters_.Entries();
  if (declared != found) {
    String count = declared == 1 ? String("1 parameter") : Decimal(declared) + " parameters";
    parser->ExpressionError("Call to function '" + name_ + "' expects " + count + ", found " + Decimal(found));
    function_ = nullptr;
    return 0;
  }
  return 1;
}

int ExpressionFunction::Resolve(ScriptParser* parser, String& result) {
  if (function_ == nullptr) return 0;
  VariableTree locals(1);
  VariableList& declared = function_->parameters();
  Variable* name = declared.First();
  for (Expression* e = parameters_.First(); e != nullptr && name != nullptr; e = parameters_.Next()) {
    String value;
    if (!e->Resolve(value)) return 0;
    locals.SetVariable(name->name(), value);
    name = declared.Next();
  }
  return function_->CallFunction(parser, &locals, result);
}

// ------------------------------------------------------------ the reader

Expression::Expression(ScriptParser* parser) : parser_(parser), tree_(parser) {}

Expression::Expression(const Expression& other) : parser_(other.parser_), tree_(nullptr) {}

Expression::~Expression() {}

const _OperatorInfo* Expression::IsOperator(const String& token) { return ExpressionOperator::Find(token); }

int Expression::TooComplex() {
  if (tree_.size() <= kMaxSize && nesting_ <= kMaxNesting) return 0;
  if (parser_) parser_->ExpressionError("Expression too complex");
  return 1;
}

int Expression::GetChar() {
  Buffer* buffer = parser_->buffer();
  int c = buffer->GetNextChar();
  parser_->lookahead() = c;
  if (c == -1) return c;
  if (c == '\n' && !buffer->inmacro()) parser_->SetLine(parser_->line() + 1);
  history_.cat((char)c);
  return c;
}

void Expression::UnGetChar() {
  Buffer* buffer = parser_->buffer();
  buffer->UnGetChar();
  if (history_.empty()) return;
  char c = history_[history_.length() - 1];
  history_.truncate(history_.length() - 1);
  if (c == '\n' && !buffer->inmacro()) parser_->SetLine(parser_->line() - 1);
}

int Expression::GetNextToken(String& token, int haveoperand, char separator, char terminator, char quote,
                             int depth) {
  String pending(token);
  int next = 0;
  token = String();
  auto fetch = [&]() -> int {
    if (next < pending.length()) return (unsigned char)pending[next++];
    return GetChar();
  };
  auto ends = [&](int c) { return c == terminator && (terminator != ')' || depth == 0); };

  int c;
  for (;;) {
    c = fetch();
    if (separator != ' ' && c == separator) return ExpressionSeparator;
    if (c != -1 && ends(c)) return ExpressionTerminated;
    if (c == -1) {
      parser_->ExpressionError("Unexpected end of file");
      return ExpressionFailed;
    }
    if (!IsWhite(c)) break;
  }

  bool quoted = false;
  int savedmacros = 0;
  for (;; c = fetch()) {
    if (quoted) {
      if (c == -1) {
        parser_->ExpressionError("Found end of file in quoted string");
        return ExpressionFailed;
      }
      if (c == '&' && savedmacros) {
        String value;
        if (parser_->expander()->CheckForMacro(value))
          token.cat(value);
        else
          token.cat('&');
        continue;
      }
      if (c == '\\') {
        c = fetch();
        if (c == -1) {
          parser_->ExpressionError("Found end of file in quoted string");
          return ExpressionFailed;
        }
        token.cat((char)c);
        continue;
      }
      token.cat((char)c);
      if (c == quote) {
        quoted = false;
        parser_->SetExpandMacros(savedmacros);
      }
      continue;
    }
    if (c == '-' && !haveoperand && token.empty()) {
      token.cat('-');
      continue;
    }
    if (IsOperatorChar(c)) {
      if (token.empty()) {
        token.cat((char)c);
      } else {
        UnGetChar();
      }
      return ExpressionEnded;
    }
    if (c == '(') {
      if (token.empty()) {
        token.cat('(');
      } else if (IsOperator(token) != nullptr) {
        UnGetChar();
      } else {
        token.cat('(');
      }
      return ExpressionEnded;
    }
    if (c == ')') {
      if (token.empty())
        token.cat(')');
      else
        UnGetChar();
      return ExpressionEnded;
    }
    if (c != -1 && IsWhite(c)) return ExpressionEnded;
    if ((separator != ' ' && c == separator) || (c != -1 && ends(c))) {
      UnGetChar();
      return ExpressionEnded;
    }
    if (c == -1) {
      parser_->ExpressionError("Unexpected end of file");
      return ExpressionFailed;
    }
    if (c == '\\') {
      c = fetch();
      if (c == -1) {
        parser_->ExpressionError("Unexpected end of file");
        return ExpressionFailed;
      }
      token.cat((char)c);
      continue;
    }
    if (c == quote) {
      quoted = true;
      savedmacros = parser_->ExpandMacros();
      parser_->SetExpandMacros(0);
      token.cat((char)c);
      continue;
    }
    if (c == '"' && quote == '\'') {
      parser_->ExpressionError("Unexpected &quot;");
      return ExpressionFailed;
    }
    if (!IsAlnumASCII(c) && c != '-' && c != '.' && c != '_') {
      parser_->ExpressionError("Unexpected " + Quoted(c));
      return ExpressionFailed;
    }
    token.cat((char)c);
  }
}

int Expression::GetNextExpression(char separator, char terminator, char quote, int check) {
  if (TooComplex()) return ExpressionFailed;
  int status = ExpressionEnded;
  int braced = 0, haveoperand = 0, count = 0, depth = 0;
  char activequote = quote, activeterminator = terminator;
  String token;

  if (quote != '\'') {
    int c = GetChar();
    if (c == -1) {
      parser_->ExpressionError("Unexpected end of file in expression");
      return ExpressionFailed;
    }
    if (c == '"') {
      int d = GetChar();
      if (d == '{') {
        braced = 1;
        activequote = '\'';
        activeterminator = '}';
      } else {
        if (d != -1) UnGetChar();
        token = "\"";
      }
    } else {
      token.assign((char)c);
    }
  }

  while (status == ExpressionEnded) {
    int r = GetNextToken(token, haveoperand, separator, activeterminator, activequote, depth);
    if (r == ExpressionFailed) {
      status = ExpressionFailed;
    } else if (r == ExpressionSeparator) {
      status = ExpressionSeparator;
    } else if (r == ExpressionTerminated) {
      if (!braced) {
        status = ExpressionTerminated;
      } else {
        int c = GetChar();
        if (c != '"') {
          parser_->ExpressionError("Expected &quot;, found " + Quoted(c));
          status = ExpressionFailed;
        } else {
          braced = 0;
          activequote = '"';
          activeterminator = terminator;
        }
      }
    } else {
      count++;
      const _OperatorInfo* op = IsOperator(token);
      if (op != nullptr) {
        if (!op->needsLeft || haveoperand) {
          tree_.Insert(new ExpressionOperator(op));
          haveoperand = 0;
        } else {
          parser_->ExpressionError("Expected non-operator, found '" + token + "'");
          status = ExpressionFailed;
        }
      } else if (token[0] == '(') {
        depth++;
        tree_.OpenParen();
      } else if (token[0] == ')') {
        if (depth == 0) {
          parser_->ExpressionError("Mismatched parenthesis");
          status = ExpressionFailed;
        } else {
          depth--;
          tree_.CloseParen();
        }
      } else if (!haveoperand) {
        if (token[token.length() - 1] == '(') {
          ExpressionFunction* function = new ExpressionFunction(token.before(token.length() - 1));
          if (!function->GetParameterList(parser_, activequote, nesting_) || (check && !function->CheckFunctionCall(parser_))) {
            delete function;
            status = ExpressionFailed;
          } else {
            tree_.Insert(function);
          }
        } else {
          char first = token[0];
          if (first == '-' || first == '.' || first == '"' || first == '\'' || IsDigitASCII((unsigned char)first))
            tree_.Insert(new ExpressionConstant(token));
          else
            tree_.Insert(new ExpressionVariable(token));
        }
        haveoperand = 1;
      } else if (braced || separator != ' ') {
        parser_->ExpressionError("Expected operator, found '" + token + "'");
        status = ExpressionFailed;
      } else {
        // A bare attribute expression ends at the next attribute's name.
        for (int i = 0; i <= token.length(); i++) UnGetChar();
        status = ExpressionSeparator;
      }
    }
    token = String();
    if (status != ExpressionFailed && TooComplex()) status = ExpressionFailed;
  }

  if (status != ExpressionFailed && count > 0 && !haveoperand) {
    parser_->ExpressionError("Unexpected end of expression");
    return ExpressionFailed;
  }
  if (status != ExpressionFailed && depth > 0) {
    parser_->ExpressionError("Mismatched parenthesis");
    return ExpressionFailed;
  }
  if (status == ExpressionTerminated && count == 0) return ExpressionEmpty;
  if (status == ExpressionSeparator) return ExpressionEnded;
  return status;
}

int Expression::Resolve(String& result) {
  String value;
  if (!tree_.Resolve(value)) return 0;
  result = static_cast<String&&>(value);
  return 1;
}

void Expression::Tokenize(String& result) {
  result = String();
  tree_.Tokenize(result);
}

// Tokenized text: tokens separated by single blanks, parentheses exact.
int Expression::ReadTokenized(const String& text, int* position, char separator, char terminator) {
  if (TooComplex()) return ExpressionFailed;
  int at = position ? *position : 0;
  int status = ExpressionReadAll, count = 0, depth = 0;
  int n = text.length();
  for (;;) {
    String token;
    bool quoted = false;
    while (at < n) {
      char c = text[at];
      if (!quoted) {
        if (c == '\0' || c == ' ' || (separator != ' ' && c == separator)) break;
        if (c == terminator && (terminator != ')' || depth == 0)) break;
      }
      if (c == '"') quoted = !quoted;
      if (c == '\\') {
        // The backslash, the character it protects and one more go in unseen.
        for (int k = 0; k < 3 && at < n; k++) token.cat(text[at++]);
        continue;
      }
      token.cat(c);
      at++;
    }
    if (!token.empty()) {
      count++;
      if (TooComplex()) return ExpressionFailed;
      const _OperatorInfo* op = IsOperator(token);
      if (op != nullptr) {
        tree_.Insert(new ExpressionOperator(op));
      } else if (token == "(") {
        depth++;
        tree_.OpenParen();
      } else if (token == ")") {
        if (depth == 0 || !tree_.CloseParen()) {
          if (parser_) parser_->ExpressionError("Mismatched parenthesis");
          return ExpressionFailed;
        }
        depth--;
      } else if (token[token.length() - 1] == '(') {
        ExpressionFunction* function = new ExpressionFunction(token.before(token.length() - 1));
        if (at < n && text[at] == ' ') at++;
        if (parser_ == nullptr || !function->GetTokenizedParameterList(parser_, text, &at, nesting_) ||
            !function->CheckFunctionCall(parser_)) {
          delete function;
          return ExpressionFailed;
        }
        tree_.Insert(function);
      } else {
        char first = token[0];
        if (first == '-' || first == '.' || first == '"' || first == '\'' || IsDigitASCII((unsigned char)first))
          tree_.Insert(new ExpressionConstant(token));
        else
          tree_.Insert(new ExpressionVariable(token));
      }
    }
    if (at >= n || text[at] == '\0') break;
    char c = text[at];
    if (c == ' ') {
      at++;
      continue;
    }
    if (separator != ' ' && c == separator) {
      status = ExpressionEnded;
      at++;
      break;
    }
    if (c == terminator) {
      if (count == 0) {
        status = ExpressionEmpty;
        at++;
      } else {
        status = ExpressionEnded;
      }
      break;
    }
  }
  if (position) *position = at;
  return status;
}
