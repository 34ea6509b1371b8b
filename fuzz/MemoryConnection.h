// A connection that reads a peer's bytes from memory, in pieces of a chosen
// size so that block boundaries fall everywhere, and swallows what is written.
#ifndef SORN_FUZZ_MEMORYCONNECTION_H
#define SORN_FUZZ_MEMORYCONNECTION_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/NetworkConnection.h"

class MemoryConnection : public NetworkConnection {
 public:
  MemoryConnection(Sorn* sorn, const uint8_t* data, size_t size, size_t piece)
      : NetworkConnection(sorn), data_(data), size_(size), piece_(piece), at_(0) {}
  int Read(char* buffer, int length, int) override {
    size_t n = std::min({(size_t)length, piece_, size_ - at_});
    memcpy(buffer, data_ + at_, n);
    at_ += n;
    return (int)n;
  }
  int ReadLine(String& line, int) override {
    line = "";
    while (at_ < size_) {
      char c = (char)data_[at_++];
      line.cat(c);
      if (c == '\n') return line.length();
    }
    return -1;
  }
  int Write(const char*, int length) override { return length; }
  int Connect(const String&, int) override { return 1; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t piece_;
  size_t at_;
};

#endif
