#include "script/Format.h"

#include <cctype>
#include <cstring>

namespace {

// Counts beyond this change nothing: a class element is bounded by the
// input, a literal by the output and an interval by the digit stack.
const long kCountLimit = 1000000;

const char kStackFull[] = "push to full stack.";

// Factor of the multiplicative hash that orders the insertion intervals.
const unsigned kHashFactor = 2654435767u;
const unsigned kHashBuckets = 100;

inline bool IsDigit(unsigned char c) { return isdigit(c) != 0; }
inline bool IsAlpha(unsigned char c) { return isalpha(c) != 0; }

}  // namespace

Format::Format() : outputposition_(0), pending_(0) { memset(output_, 0, sizeof output_); }

bool Format::ReadElement(const char*& p, Element& element) {
  element = Element();
  element.count = 1;
  if (*p == '!') {
    element.negate = true;
    p++;
  }
  if (*p == '*') {
    element.all = true;
    p++;
  } else if (IsDigit(*p)) {
    long count = 0;
    while (IsDigit(*p)) {
      count = count * 10 + (*p++ - '0');
      if (count > kCountLimit) count = kCountLimit;
    }
    element.count = count;
  }
  switch (*p) {
    case '#':
      element.type = Digit;
      break;
    case 'P':
    case 'p':
      element.type = Digit;
      element.padding = true;
      break;
    case 'A':
      element.type = UpperLetter;
      break;
    case 'a':
      element.type = LowerLetter;
      break;
    case 'S':
      element.type = Symbol;
      break;
    case '.':
      element.type = AnyCharacter;
      break;
    case '|':
      element.type = ClearInsertions;
      break;
    case '[': {
      // Without a closing bracket the list is the rest of the pattern.
      element.type = ClassList;
      element.list = ++p;
      const char* close = strchr(p, ']');
      element.listlength = close ? (int)(close - p) : (int)strlen(p);
      p += element.listlength;
      if (*p == ']') p++;
      return true;
    }
    case '&': {
      element.type = Literal;
      p++;
      unsigned code = 0;
      while (IsDigit(*p)) code = (code * 10 + (unsigned)(*p++ - '0')) & 0xFFu;
      if (*p != ';') return false;
      element.character = (char)code;
      p++;
      return true;
    }
    case '+':
    case '-':
      if (p[1] == 0) return false;
      element.type = *p == '+' ? AddInsertion : RemoveInsertion;
      element.character = p[1];
      p += 2;
      return true;
    default:
      return false;
  }
  p++;
  return true;
}

bool Format::Matches(const Element& element, unsigned char c) {
  bool match = false;
  switch (element.type) {
    case Digit:
      match = IsDigit(c);
      break;
    case UpperLetter:
    case LowerLetter:
      match = IsAlpha(c);
      break;
    case Symbol:
      match = !IsDigit(c) && !IsAlpha(c);
      break;
    case ClassList:
      for (int i = 0; i < element.listlength && !match; i++) {
        switch (element.list[i]) {
          case '#': match = IsDigit(c); break;
          case 'A': match = isupper(c) != 0; break;
          case 'a': match = islower(c) != 0; break;
          case 'S': match = !IsDigit(c) && !IsAlpha(c); break;
          default: break;
        }
      }
      break;
    default:
      return true;
  }
  return match != element.negate;
}

int Format::Act(Element& element, char c) {
  switch (element.type) {
    case Literal: {
      // A NUL literal adds nothing; once the output is full the rest of
      // the repetitions could add nothing either.
      if (element.character == 0) return NextElement;
      int room = addToOutput(element.character);
      if (!room || (!element.all && --element.count <= 0)) return NextElement;
      return 0;
    }
    case AddInsertion:
    case RemoveInsertion:
      if (!element.all && element.count > 0) {
        if (element.type == AddInsertion)
          addInsert((unsigned)element.count, element.character);
        else
          removeInsert((unsigned)element.count, element.character);
      }
      return NextElement;
    case ClearInsertions:
      clearInsert();
      return NextElement;
    default:
      break;
  }

  unsigned char u = (unsigned char)c;
  if (!Matches(element, u)) return NextElement;
  if (element.type == UpperLetter)
    addToOutput((char)toupper(u));
  else if (element.type == LowerLetter)
    addToOutput((char)tolower(u));
  else if (!(element.type == AnyCharacter && element.negate))
    addToOutput(c);
  if (element.all) return ConsumeInput;
  int flags = element.padding ? Filler : ConsumeInput;
  if (--element.count <= 0) flags |= NextElement;
  return flags;
}

int Format::doFmt(char* value, const char* format) {
  memset(output_, 0, sizeof output_);
  outputposition_ = 0;
  pending_ = 0;
  error_ = "";
  clearInsert();

  const char* p = format ? format : "";
  Element element;
  if (!ReadElement(p, element)) {
    value[0] = 0;
    return 0;
  }
  int position = 0;
  while (value[position] != 0) {
    int flags = Act(element, value[position]);
    if (!error_.empty()) return 0;
    if (flags & Filler) {
      // Go on to a following digit, or turn this character into a 0 that
      // the next round writes.
      if (IsDigit(value[position + 1]))
        position++;
      else
        value[position] = '0';
    }
    if (flags & ConsumeInput) position++;
    if ((flags & NextElement) && !ReadElement(p, element)) break;
  }
  addToOutput(0);
  clearInsert();
  if (!error_.empty()) return 0;
  memcpy(value, output_, sizeof output_);
  return 1;
}

int Format::addToOutput(char c) {
  if (IsDigit(c)) {
    if (pending_ >= kStackCapacity) return Overflow();
    digits_[pending_++] = c;
    return 1;
  }
  if (!FlushDigits()) return 0;
  if (outputposition_ >= kLimit) return 0;
  output_[outputposition_++] = c;
  return 1;
}

bool Format::FlushDigits() {
  // The digits go from right to left onto a second stack, with the
  // insertions of every interval that divides the count so far, and come
  // back off it in reading order.
  char reversed[kStackCapacity];
  int top = 0;
  for (int i = 1; i <= pending_; i++) {
    if (top >= kStackCapacity) return Overflow();
    reversed[top++] = digits_[pending_ - i];
    if (i >= pending_) break;
    for (const Insertion& insertion : insertions_) {
      if ((unsigned)i % insertion.interval != 0) continue;
      for (char c : insertion.characters) {
        if (c == 0) continue;
        if (top >= kStackCapacity) return Overflow();
        reversed[top++] = c;
      }
    }
  }
  pending_ = 0;
  while (top > 0) {
    char c = reversed[--top];
    if (outputposition_ < kLimit) output_[outputposition_++] = c;
  }
  return true;
}

void Format::addInsert(unsigned interval, char c) {
  for (Insertion& insertion : insertions_) {
    if (insertion.interval == interval) {
      insertion.characters.push_back(c);
      return;
    }
  }
  Insertion insertion;
  insertion.interval = interval;
  insertion.bucket = (interval * kHashFactor) % kHashBuckets;
  insertion.characters.push_back(c);
  auto at = insertions_.begin();
  while (at != insertions_.end() && at->bucket <= insertion.bucket) ++at;
  insertions_.insert(at, insertion);
}

void Format::removeInsert(unsigned interval, char c) {
  for (Insertion& insertion : insertions_) {
    if (insertion.interval != interval) continue;
    for (char& entry : insertion.characters)
      if (entry == c) entry = 0;
  }
}

bool Format::Overflow() {
  error_ = kStackFull;
  return false;
}
