// Format: the pattern engine of the FMT operator. A pattern is a sequence
// of elements, each an optional "!" (negation), an optional count (a
// decimal number, or "*" for as many as match; 1 when missing) and a type:
//
//   #  P  p   a digit (P and p pad with zeros once the digits end)
//   A  a      a letter, written upper or lower case
//   S         neither digit nor letter
//   [...]     any of the listed classes: # digit, A upper, a lower, S other
//   &nn;      the character with decimal code nn, written count times
//   +x  -x    insert x after every count-th digit of a digit run, counted
//             from the right / cancel that insertion
//   |         cancel all insertions
//   .         any character ("!." drops it)
//
// An unknown type character ends the pattern. Digits are held back on a
// stack and written, with their insertions, when a non-digit follows.
#ifndef SORN_SCRIPT_FORMAT_H
#define SORN_SCRIPT_FORMAT_H

#include <vector>

#include "core/String.h"

class Format {
 public:
  // Longest text that goes in or comes out; capacity of the digit stacks.
  enum { kLimit = 512, kStackCapacity = 100 };

  Format();
  Format(const Format&) = delete;
  Format& operator=(const Format&) = delete;

  // Rewrites `value`, a buffer of at least kLimit + 1 bytes holding a
  // NUL-terminated text of at most kLimit characters, by `format`.
  // Returns 1 when done; 0 when the pattern is empty or bad at its first
  // element (value is then empty), or after an overflow of a digit stack
  // (error() is then set and value holds no result).
  int doFmt(char* value, const char* format);
  const String& error() const { return error_; }

 private:
  enum ElementType {
    Digit = 0,
    UpperLetter = 1,
    LowerLetter = 2,
    Symbol = 3,
    ClassList = 4,
    Literal = 5,
    AddInsertion = 6,
    RemoveInsertion = 7,
    ClearInsertions = 8,
    AnyCharacter = 9,
  };
  // Flags returned by an element's action.
  enum { NextElement = 1, ConsumeInput = 2, Filler = 4 };

  struct Element {
    int type;
    bool negate;
    bool all;      // count "*"
    bool padding;  // P or p
    long count;
    char character;
    const char* list;
    int listlength;
  };

  struct Insertion {
    unsigned interval;
    unsigned bucket;  // decides the order in which intervals are visited
    std::vector<char> characters;
  };

  // Reads the element at `p`, moving `p` past it; false at the end of the
  // pattern or at an unknown type character.
  static bool ReadElement(const char*& p, Element& element);
  static bool Matches(const Element& element, unsigned char c);
  int Act(Element& element, char c);

  // Writes c to the output, holding digits back; 0 once the output is full.
  int addToOutput(char c);
  bool FlushDigits();
  void addInsert(unsigned interval, char c);
  void removeInsert(unsigned interval, char c);
  void clearInsert() { insertions_.clear(); }
  bool Overflow();

  char output_[kLimit + 1];
  int outputposition_;
  char digits_[kStackCapacity];
  int pending_;
  std::vector<Insertion> insertions_;
  String error_;
};

#endif
