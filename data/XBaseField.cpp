#include "data/XBaseField.h"

#include <string.h>

namespace {

// One row per type, in the order of XBaseFieldType.
const char kLetters[] = {'C', 'N', 'D', 'L', 'M'};

char* Duplicate(const char* text) {
  size_t n = strlen(text);
  char* copy = new char[n + 1];
  memcpy(copy, text, n + 1);
  return copy;
}

}  // namespace

char XBaseFieldLetter(XBaseFieldType type) { return kLetters[type]; }

int XBaseFieldTypeOf(char letter) {
  for (int i = 0; i < (int)sizeof kLetters; i++)
    if (kLetters[i] == letter) return i;
  return -1;
}

XBaseField::XBaseField(XBaseTable* table, const char* name, XBaseFieldType type, int length, int decimalcount)
    : name_(Duplicate(name)),
      type_(type),
      length_(length < 0 ? 0 : length),
      decimalcount_(decimalcount),
      value_(new char[length_ + 1]()),
      original_(new char[length_ + 1]()),
      table_(table) {}

XBaseField::~XBaseField() {
  delete[] name_;
  delete[] value_;
  delete[] original_;
}

int XBaseField::Read(unsigned char* bytes) {
  int start = 0;
  int end = length_;
  // A NUL inside the field ends the text, as it would end a C string.
  const unsigned char* nul = (const unsigned char*)memchr(bytes, 0, length_);
  if (nul != nullptr) end = (int)(nul - bytes);
  switch (type_) {
    case XBaseCHAR:
      while (end > 0 && bytes[end - 1] == ' ') end--;
      break;
    case XBaseNUMBER:
    case XBaseMEMO:
      while (start < end && bytes[start] == ' ') start++;
      break;
    case XBaseDATE:
    case XBaseBOOL:
      break;
  }
  memcpy(value_, bytes + start, end - start);
  value_[end - start] = '\0';
  memcpy(original_, value_, end - start + 1);
  return 1;
}

void XBaseField::Layout(unsigned char* bytes, int length, const char* text, bool right) {
  int n = (int)strnlen(text, length);
  int pad = length - n;
  if (right) {
    memset(bytes, ' ', pad);
    memcpy(bytes + pad, text, n);
  } else {
    memcpy(bytes, text, n);
    memset(bytes + n, ' ', pad);
  }
}

int XBaseField::Write(unsigned char* bytes) {
  Layout(bytes, length_, value_, type_ == XBaseNUMBER || type_ == XBaseMEMO);
  return 1;
}

int XBaseField::Set(const String& text) { return Set(text.chars(), text.length()); }

int XBaseField::Set(const char* text, int n) {
  if (text == nullptr) text = "";
  if (n < 0) n = (int)strlen(text);
  if (n > length_) n = length_;
  memcpy(value_, text, n);
  value_[n] = '\0';
  return 1;
}

const char* XBaseField::data() { return value_; }

void XBaseField::SwapOriginal() {
  char* swap = value_;
  value_ = original_;
  original_ = swap;
}

void XBaseField::SetOriginal() { memcpy(original_, value_, length_ + 1); }
