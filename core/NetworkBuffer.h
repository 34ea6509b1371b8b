// NetworkBuffer: a connection read one character at a time, with push-back.
// Unlike the file Buffer it cannot seek: what was read is gone, so a reply
// of any length passes through one block of memory.
#ifndef SORN_CORE_NETWORKBUFFER_H
#define SORN_CORE_NETWORKBUFFER_H

#include "core/String.h"

class NetworkConnection;

class NetworkBuffer {
 public:
  // Does not own the connection. A size below 1 is taken as 1.
  NetworkBuffer(NetworkConnection* connection, int timeout, int size);
  virtual ~NetworkBuffer();
  NetworkBuffer(const NetworkBuffer&) = delete;
  NetworkBuffer& operator=(const NetworkBuffer&) = delete;

  // The next byte as a signed char, or -1 at the end of the data. A byte
  // 0xFF therefore reads as the end, and bytes above 127 are negative.
  virtual int GetNextChar();
  // Pushes back the character delivered last; the pushed-back characters
  // come out last in, first out.
  virtual void UnGetChar();
  // One read into the block; false when the read failed.
  virtual int FillBuffer();

  // Bytes taken from the connection so far.
  long offset() const { return offset_ + count_; }

 private:
  NetworkConnection* connection_;
  int timeout_;
  char* buffer_;
  int size_;
  int position_;
  long offset_;
  int count_;
  int last_;
  String pushback_;
};

#endif
