#include "script/MacroExpander.h"

#include <cstring>
#include <string>

#include "core/Keys.h"
#include "script/Variables.h"

namespace {

// Whole-text comparison without case that also holds for texts with
// embedded NUL bytes.
bool SameWord(const String& text, const char* word) {
  size_t n = strlen(word);
  return (size_t)text.length() == n && CompareKeys(text.chars(), word, n) == 0;
}

}  // namespace

MacroExpander::MacroExpander(Sorn* sorn, int size)
    : Buffer(sorn, size),
      expand_(1),
      replay_(-1),
      replaylength_(0),
      sourcelength_(0),
      encoding_(MacroEncodingNone) {
  encoding_ = DefaultEncoding();
}

MacroEncoding MacroExpander::DefaultEncoding() const {
  return sorn_ != nullptr ? sorn_->defaultmacroencoding() : MacroEncodingNone;
}

void MacroExpander::EndReplay() {
  replay_ = -1;
  replaylength_ = 0;
  macroname_ = "";
  value_ = "";
  encoding_ = DefaultEncoding();
}

long MacroExpander::CurrentFilePosition() {
  long position = Buffer::CurrentFilePosition();
  // Once the last character of the value has been read the position is the
  // one behind the macro, where reading goes on.
  if (replay_ >= 0 && replay_ < replaylength_) position -= sourcelength_;
  return position;
}

int MacroExpander::GetNextChar() {
  if (replay_ >= 0 && replay_ >= replaylength_) EndReplay();
  if (replay_ >= 0) return (unsigned char)value_[replay_++];
  for (;;) {
    int c = Buffer::GetNextChar();
    if (!expand_ || c != '&') return c;
    if (!CheckForMacro(value_)) return c;
    if (!value_.empty()) {
      replay_ = 1;
      replaylength_ = value_.length();
      return (unsigned char)value_[0];
    }
    // An empty macro vanishes.
    EndReplay();
  }
}

void MacroExpander::UnGetChar() {
  if (replay_ < 0) {
    Buffer::UnGetChar();
    return;
  }
  if (--replay_ >= 1) return;
  for (int i = 0; i < sourcelength_; i++) Buffer::UnGetChar();
  EndReplay();
}

int MacroExpander::CheckForMacro(String& result) {
  attempts_++;
  sourcelength_ = 0;
  int c = Buffer::GetNextChar();
  if (c == '[') {
    sourcelength_ = 2;
  } else {
    // Perhaps "&amp;[": look at up to five characters, through a ';'.
    int collected = 0;
    char text[5];
    while (c >= 0) {
      text[collected++] = (char)c;
      if (c == ';' || collected == 5) break;
      c = Buffer::GetNextChar();
    }
    bool macro = false;
    if (collected == 4 && CompareKeys(text, "amp;", 4) == 0) {
      c = Buffer::GetNextChar();
      if (c == '[') {
        macro = true;
        sourcelength_ = 6;
      } else if (c >= 0) {
        Buffer::UnGetChar();
      }
    }
    if (!macro) {
      for (int i = 0; i < collected; i++) Buffer::UnGetChar();
      sourcelength_ = 0;
      return 0;
    }
  }

  // The name runs to ']'; without one the rest of the file is swallowed.
  std::string name;
  for (;;) {
    sourcelength_++;
    c = Buffer::GetNextChar();
    if (c < 0) {
      result = "";
      macroname_ = "";
      return 1;
    }
    if (c == ']') break;
    name += (char)c;
  }
  c = Buffer::GetNextChar();
  if (c == ';')
    sourcelength_++;
  else if (c >= 0)
    Buffer::UnGetChar();

  macroname_.assign(name.data(), (int)name.size());
  macroname_.StripWhitespace();
  encoding_ = DefaultEncoding();
  int colon = macroname_.search(":");
  if (colon >= 0) {
    String word = macroname_.from(colon + 1);
    macroname_ = macroname_.before(colon);
    if (SameWord(word, "attribute"))
      encoding_ = MacroEncodingAttribute;
    else if (SameWord(word, "entities"))
      encoding_ = MacroEncodingEntities;
    else if (SameWord(word, "none"))
      encoding_ = MacroEncodingNone;
  }

  Variables* vars = sorn_ != nullptr ? sorn_->vars() : nullptr;
  Variable* v = vars != nullptr ? vars->Find(macroname_) : nullptr;
  // A computed value is read once.
  const String* value = v != nullptr ? &v->value() : nullptr;
  if (value != nullptr && !value->empty()) {
    result = *value;
    if (encoding_ == MacroEncodingAttribute)
      Sorn::EncodeAttribute(result);
    else if (encoding_ == MacroEncodingEntities)
      Sorn::EncodeEntities(result);
  } else {
    result = "";
  }
  return 1;
}
