#include "core/Output.h"

#include <unistd.h>

#include <cstring>

namespace {

// The buffer starts this small and doubles up to its size: most pages are a
// few kilobytes, and the heap pages of a full buffer cost every request.
const int kFirstCapacity = 1024;

}  // namespace

Output::Output(int size)
    : size_(size > 0 ? size : 1),
      capacity_(size_ < kFirstCapacity ? size_ : kFirstCapacity),
      buffer_(new char[capacity_]),
      used_(0),
      inwhitespace_(0) {}

Output::~Output() { delete[] buffer_; }

void Output::Reserve(int needed) {
  if (needed <= capacity_) return;
  int grown = capacity_;
  while (grown < needed) grown = grown > size_ / 2 ? size_ : grown * 2;
  char* bigger = new char[grown];
  memcpy(bigger, buffer_, used_);
  delete[] buffer_;
  buffer_ = bigger;
  capacity_ = grown;
}

int Output::Write(const char* data, int length) {
  if (length == -1) length = (int)strlen(data);
  if (length <= 0) return length < 0 ? 0 : length;
  if (length <= size_) {
    if (used_ + length > size_) Flush();
    Reserve(used_ + length);
    memcpy(buffer_ + used_, data, length);
    used_ += length;
    return length;
  }
  Reserve(size_);
  int done = 0;
  while (done < length) {
    int room = size_ - used_;
    int n = length - done < room ? length - done : room;
    memcpy(buffer_ + used_, data + done, n);
    used_ += n;
    done += n;
    if (used_ == size_ && done < length) Flush();
  }
  if (used_ == size_) Flush();
  return length;
}

int Output::Flush() {
  int result = DoWrite(buffer_, used_);
  used_ = 0;
  return result;
}

StandardOutput::~StandardOutput() { Flush(); }

int StandardOutput::DoWrite(const char* data, int count) {
  if (count == 0) return 0;
  int done = 0;
  while (done < count) {
    ssize_t n = write(1, data + done, count - done);
    if (n <= 0) return done > 0 ? done : (int)n;
    done += (int)n;
  }
  return done;
}

StringOutput::~StringOutput() { Flush(); }

int StringOutput::DoWrite(const char* data, int count) {
  string_.cat(data, count);
  return count;
}
