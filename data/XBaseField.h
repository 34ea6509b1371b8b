// XBaseField: one field of an xBase table, with the text of the current
// record and the text last known to be on disk.
//
// A field occupies `length` bytes of the record, all text:
//
// | Type          | Letter | On disk                              | Read gives               |
// |---------------|--------|--------------------------------------|--------------------------|
// | XBaseCHAR   0 | C      | left-justified, blank-padded         | trailing blanks removed  |
// | XBaseNUMBER 1 | N      | right-justified, blank-padded        | leading blanks removed   |
// | XBaseDATE   2 | D      | left-justified, YYYYMMDD when set    | the bytes as they stand  |
// | XBaseBOOL   3 | L      | left-justified                       | the byte as it stands    |
// | XBaseMEMO   4 | M      | block number, right-justified        | leading blanks removed   |
//
// The value and the original are two owned buffers of length + 1 bytes,
// always NUL-terminated; a NUL byte inside a field ends its text.
#ifndef SORN_DATA_XBASEFIELD_H
#define SORN_DATA_XBASEFIELD_H

#include "core/String.h"

class XBaseTable;

enum XBaseFieldType { XBaseCHAR = 0, XBaseNUMBER = 1, XBaseDATE = 2, XBaseBOOL = 3, XBaseMEMO = 4 };

// The type letter of a field type, and the type of a letter (-1 when the
// letter names no type).
char XBaseFieldLetter(XBaseFieldType type);
int XBaseFieldTypeOf(char letter);

class XBaseField {
 public:
  // The name is copied. length and decimalcount are what the descriptor
  // holds (0 to 255); a length of 0 is a field of no bytes.
  XBaseField(XBaseTable* table, const char* name, XBaseFieldType type, int length, int decimalcount);
  virtual ~XBaseField();
  XBaseField(const XBaseField&) = delete;
  XBaseField& operator=(const XBaseField&) = delete;

  // Takes the field's `length` bytes at `bytes` into both the value and the
  // original. 1.
  virtual int Read(unsigned char* bytes);
  // Lays the value out in the field's `length` bytes at `bytes`. 1, or 0
  // when nothing could be written (a memo that could not be stored).
  virtual int Write(unsigned char* bytes);
  // Stores at most `length` bytes of the text (-1: up to its NUL); longer
  // values are cut without a word. 1.
  virtual int Set(const String& text);
  virtual int Set(const char* text, int n);
  virtual const char* name() const { return name_; }
  virtual XBaseFieldType type() const { return type_; }
  virtual int length() const { return length_; }
  virtual int decimalcount() const { return decimalcount_; }
  // The current text; a memo gives its text (null when it cannot be read).
  virtual const char* data();
  // Exchanges value and original, so that the field shows the record as it
  // stands on disk; a second call undoes the first.
  virtual void SwapOriginal();
  // The value becomes the original: it is now what the disk holds.
  virtual void SetOriginal();

  XBaseTable* table() const { return table_; }

 protected:
  // The value buffer holds the block number for a memo.
  char* value() const { return value_; }
  // Right-justified types (NUMBER and MEMO) pad on the left.
  static void Layout(unsigned char* bytes, int length, const char* text, bool right);

 private:
  char* name_;
  XBaseFieldType type_;
  int length_;
  int decimalcount_;
  char* value_;
  char* original_;
  XBaseTable* table_;
};

#endif
