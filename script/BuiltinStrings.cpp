// Character and string built-ins.
#include <ctype.h>
#include <stdlib.h>

#include <climits>

#include "script/Builtins.h"

namespace {

// The walk of the is-family: "1" when every character is of the class,
// which makes the empty text "1" in every member.
template <class Class>
void WholeStringIs(VariableTree* parameters, String& result, Class is) {
  const String& text = BuiltinParameter(parameters, "string");
  int i = 0;
  while (i < text.length() && is((unsigned char)text[i])) i++;
  result.assign(i == text.length() ? '1' : '0');
}

void Pad(VariableTree* parameters, String& result, bool left) {
  const String& text = BuiltinParameter(parameters, "string");
  const String& pad = BuiltinParameter(parameters, "pad");
  int width = atoi(BuiltinParameter(parameters, "length"));
  char c = pad.empty() ? ' ' : pad[0];
  result = left ? text.padl(width, c) : text.padr(width, c);
}

}  // namespace

void bi_asciivalue(Sorn*, VariableTree* parameters, String& result) {
  const String& text = BuiltinParameter(parameters, "char");
  result = Decimal(text.empty() ? 0 : (unsigned char)text[0]);
}

void bi_asciichar(Sorn*, VariableTree* parameters, String& result) {
  result.assign((char)(unsigned char)atoi(BuiltinParameter(parameters, "ascii")));
}

void bi_substring(Sorn*, VariableTree* parameters, String& result) {
  const String& text = BuiltinParameter(parameters, "string");
  long start = atoi(BuiltinParameter(parameters, "start"));
  long length = atoi(BuiltinParameter(parameters, "length"));
  if (start < 1) start = 1;
  if (length < 1) return;
  // Both come from atoi: their sum may pass INT_MAX, and the end is cut at
  // the text's end anyway.
  long end = start + length - 1;
  if (end > INT_MAX) end = INT_MAX;
  result = text.at((int)(start - 1), (int)end);
}

void bi_isalpha(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isalpha(c); }); }
void bi_isupper(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isupper(c); }); }
void bi_islower(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return islower(c); }); }
void bi_isdigit(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isdigit(c); }); }
void bi_isxdigit(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isxdigit(c); }); }
void bi_isalnum(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isalnum(c); }); }
void bi_isspace(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isspace(c); }); }
void bi_ispunct(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return ispunct(c); }); }
void bi_isprint(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isprint(c); }); }
void bi_isgraph(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return isgraph(c); }); }
void bi_iscntrl(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return iscntrl(c); }); }
// A NUL byte stops the walk as the end of a C string would.
void bi_isascii(Sorn*, VariableTree* p, String& r) { WholeStringIs(p, r, [](int c) { return c >= 1 && c <= 127; }); }

void bi_rtrim(Sorn*, VariableTree* parameters, String& result) {
  const String& text = BuiltinParameter(parameters, "string");
  if (text.empty()) return;
  // The first character is never looked at, so a text of blanks keeps one.
  int i = text.length() - 1;
  while (i != 0 && IsWhite(text[i])) i--;
  result = text.before(i + 1);
}

void bi_ltrim(Sorn*, VariableTree* parameters, String& result) {
  const String& text = BuiltinParameter(parameters, "string");
  int i = 0;
  while (i < text.length() && IsWhite(text[i])) i++;
  result = text.from(i);
}

void bi_toupper(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "string");
  result.upcase();
}

void bi_tolower(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "string");
  result.lowcase();
}

void bi_len(Sorn*, VariableTree* parameters, String& result) {
  result = Decimal(BuiltinParameter(parameters, "string").length());
}

void bi_padl(Sorn*, VariableTree* parameters, String& result) { Pad(parameters, result, true); }
void bi_padr(Sorn*, VariableTree* parameters, String& result) { Pad(parameters, result, false); }

void bi_glosub(Sorn*, VariableTree* parameters, String& result) {
  result = BuiltinParameter(parameters, "string");
  const String& search = BuiltinParameter(parameters, "search");
  if (search.empty()) return;
  result.gsub(search, BuiltinParameter(parameters, "replace"));
}

void bi_gettoken(Sorn*, VariableTree* parameters, String& result) {
  const String& text = BuiltinParameter(parameters, "string");
  const String& separators = BuiltinParameter(parameters, "separators");
  int position = atoi(BuiltinParameter(parameters, "position"));
  if (position < 1) return;
  int token = 1, start = 0;
  for (int i = 0; i <= text.length(); i++) {
    bool end = i == text.length() || (!separators.empty() && separators.contains(text[i]));
    if (!end) continue;
    if (token == position) {
      result = text.at(start, i);
      return;
    }
    token++;
    start = i + 1;
  }
}
