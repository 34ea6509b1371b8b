// Output: a fixed staging buffer in front of one virtual write. The
// parser's current Output can be swapped to capture a script's output.
#ifndef SORN_CORE_OUTPUT_H
#define SORN_CORE_OUTPUT_H

#include "core/String.h"

class Output {
 public:
  explicit Output(int size);
  virtual ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Buffers length bytes (-1: strlen); never reports a sink failure.
  virtual int Write(const char* data, int length = -1);
  int Write(const String& text) { return Write(text.chars(), text.length()); }
  // Hands the buffer to DoWrite, even when empty; returns DoWrite's result.
  virtual int Flush();
  virtual int DoWrite(const char* data, int count) = 0;
  // The last text written ended in white space (compresswhitespace).
  virtual int& inwhitespace() { return inwhitespace_; }

 protected:
  // Grows the buffer to hold needed bytes (at most size_).
  void Reserve(int needed);

  int size_;      // buffered bytes that make a write
  int capacity_;  // bytes allocated so far
  char* buffer_;
  int used_;
  int inwhitespace_;
};

class StandardOutput : public Output {
 public:
  explicit StandardOutput(int size) : Output(size) {}
  ~StandardOutput() override;
  int DoWrite(const char* data, int count) override;
};

class StringOutput : public Output {
 public:
  explicit StringOutput(int size) : Output(size) {}
  ~StringOutput() override;
  int DoWrite(const char* data, int count) override;
  // Flush first: buffered text is not yet in the string.
  String& string() { return string_; }

 private:
  String string_;
};

#endif
