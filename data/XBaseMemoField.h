// XBaseMemoField: a MEMO field. The record holds a block number of the memo
// file in ten bytes (blank when there is no text); the text itself is read
// from the memo file on first demand and stored in a fresh block when the
// record is written after a Set.
#ifndef SORN_DATA_XBASEMEMOFIELD_H
#define SORN_DATA_XBASEMEMOFIELD_H

#include "data/XBaseField.h"

class XBaseMemoField : public XBaseField {
 public:
  XBaseMemoField(XBaseTable* table, const char* name, int length, int decimalcount);
  ~XBaseMemoField() override;

  // Clears the dirty flag and drops both texts; the block number is read.
  int Read(unsigned char* bytes) override;
  // Not dirty: the block number as read. Dirty with an empty text: ten
  // blanks. Dirty with a text: the text goes to a new block of the memo file
  // and its number into the record; when that store fails nothing is written
  // and the result is 0.
  int Write(unsigned char* bytes) override;
  // Replaces the text (no limit on its length) and marks the field dirty.
  int Set(const char* text, int n) override;
  using XBaseField::Set;
  // The text: held, or read from the block the value names; a number of 0
  // (or blanks) is the empty text. Null when the read failed, with the
  // reason in the table's error.
  const char* data() override;
  void SwapOriginal() override;
  void SetOriginal() override;

  int dirty() const { return dirty_; }
  // The block number the record holds (0: no text), as data() reads it.
  long block() const;

 private:
  void DropTexts();

  int dirty_;
  char* text_;
  int textlength_;
  char* originaltext_;
  int originallength_;
};

#endif
