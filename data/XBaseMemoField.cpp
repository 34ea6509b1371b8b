#include "data/XBaseMemoField.h"

#include <stdio.h>
#include <string.h>

#include "data/XBaseTable.h"

namespace {

char* Copy(const char* text, int n) {
  char* copy = new char[n + 1];
  memcpy(copy, text, n);
  copy[n] = '\0';
  return copy;
}

}  // namespace

XBaseMemoField::XBaseMemoField(XBaseTable* table, const char* name, int length, int decimalcount)
    : XBaseField(table, name, XBaseMEMO, length, decimalcount),
      dirty_(0),
      text_(nullptr),
      textlength_(0),
      originaltext_(nullptr),
      originallength_(0) {}

XBaseMemoField::~XBaseMemoField() { DropTexts(); }

void XBaseMemoField::DropTexts() {
  delete[] text_;
  delete[] originaltext_;
  text_ = originaltext_ = nullptr;
  textlength_ = originallength_ = 0;
}

int XBaseMemoField::Read(unsigned char* bytes) {
  dirty_ = 0;
  DropTexts();
  return XBaseField::Read(bytes);
}

int XBaseMemoField::Write(unsigned char* bytes) {
  if (dirty_) {
    if (text_ == nullptr || text_[0] == '\0') {
      XBaseField::Set("", 0);
    } else {
      if (table() == nullptr) return 0;
      long block = table()->WriteMemoBlock(text_);
      if (block < 0) return 0;
      char number[24];
      snprintf(number, sizeof number, "%ld", block);
      XBaseField::Set(number, -1);
    }
  }
  return XBaseField::Write(bytes);
}

int XBaseMemoField::Set(const char* text, int n) {
  if (text == nullptr) text = "";
  if (n < 0) n = (int)strlen(text);
  dirty_ = 1;
  delete[] text_;
  text_ = Copy(text, n);
  textlength_ = n;
  return 1;
}

long XBaseMemoField::block() const { return XBaseTable::MemoBlockNumber(value()); }

const char* XBaseMemoField::data() {
  if (text_ != nullptr) return text_;
  long block = XBaseTable::MemoBlockNumber(value());
  char* text = nullptr;
  int length = 0;
  if (block != 0) {
    if (table() == nullptr || !table()->ReadMemoBlock(block, &text, &length)) return nullptr;
  } else {
    text = Copy("", 0);
  }
  text_ = text;
  textlength_ = length;
  // After a SwapOriginal the edited text waits in the original; it must
  // survive this read so that the swap back restores it.
  if (originaltext_ == nullptr) {
    originaltext_ = Copy(text, length);
    originallength_ = length;
  }
  return text_;
}

void XBaseMemoField::SwapOriginal() {
  XBaseField::SwapOriginal();
  char* text = text_;
  text_ = originaltext_;
  originaltext_ = text;
  int length = textlength_;
  textlength_ = originallength_;
  originallength_ = length;
}

void XBaseMemoField::SetOriginal() {
  XBaseField::SetOriginal();
  if (text_ == nullptr) return;
  delete[] originaltext_;
  originaltext_ = Copy(text_, textlength_);
  originallength_ = textlength_;
}
