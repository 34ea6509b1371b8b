// ContentParser: the base of the request-body parsers. Parse takes the
// length the request announced and returns 0 on success, nonzero on
// failure. ContentCollector gathers the bytes of one value across buffer
// refills.
#ifndef SORN_CORE_CONTENTPARSER_H
#define SORN_CORE_CONTENTPARSER_H

#include <climits>
#include <cstring>

#include "core/String.h"

class Sorn;

class ContentParser {
 public:
  explicit ContentParser(Sorn* sorn) : sorn_(sorn) {}
  virtual ~ContentParser() {}
  ContentParser(const ContentParser&) = delete;
  ContentParser& operator=(const ContentParser&) = delete;

  virtual int Parse(int length) = 0;

 protected:
  Sorn* sorn_;
};

// A growable byte buffer that doubles its room, so that a value arriving in
// many small pieces costs linear time. With a positive limit, bytes beyond
// the limit are dropped instead of stored.
class ContentCollector {
 public:
  explicit ContentCollector(int limit = 0) : data_(nullptr), capacity_(0), length_(0), limit_(limit) {}
  ~ContentCollector() { delete[] data_; }
  ContentCollector(const ContentCollector&) = delete;
  ContentCollector& operator=(const ContentCollector&) = delete;

  void Append(const char* bytes, int count) {
    if (count <= 0) return;
    int room = (limit_ > 0 ? limit_ : INT_MAX - 1) - length_;
    if (count > room) count = room;
    if (count <= 0) return;
    if (length_ + count > capacity_) {
      long wanted = (long)capacity_ * 2;
      if (wanted < 64) wanted = 64;
      if (wanted < (long)length_ + count) wanted = (long)length_ + count;
      if (wanted > INT_MAX - 1) wanted = INT_MAX - 1;
      char* grown = new char[wanted];
      if (length_ > 0) memcpy(grown, data_, length_);
      delete[] data_;
      data_ = grown;
      capacity_ = (int)wanted;
    }
    memcpy(data_ + length_, bytes, count);
    length_ += count;
  }
  void Clear() { length_ = 0; }
  int length() const { return length_; }
  bool empty() const { return length_ == 0; }
  String text() const { return length_ > 0 ? String(data_, length_) : String(); }

 private:
  char* data_;
  int capacity_;
  int length_;
  int limit_;
};

#endif
