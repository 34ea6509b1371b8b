#include "core/NetworkBuffer.h"

#include "core/NetworkConnection.h"

NetworkBuffer::NetworkBuffer(NetworkConnection* connection, int timeout, int size)
    : connection_(connection),
      timeout_(timeout),
      buffer_(nullptr),
      size_(size > 0 ? size : 1),
      position_(0),
      offset_(0),
      count_(0),
      last_(-1) {
  buffer_ = new char[size_];
}

NetworkBuffer::~NetworkBuffer() { delete[] buffer_; }

int NetworkBuffer::GetNextChar() {
  if (!pushback_.empty()) {
    int n = pushback_.length() - 1;
    last_ = (signed char)pushback_[n];
    pushback_.truncate(n);
    return last_;
  }
  if (position_ >= count_) {
    offset_ += count_;
    position_ = 0;
    count_ = 0;
    FillBuffer();
  }
  last_ = position_ < count_ ? (signed char)buffer_[position_++] : -1;
  return last_;
}

void NetworkBuffer::UnGetChar() { pushback_.cat((char)last_); }

int NetworkBuffer::FillBuffer() {
  int n = connection_->Read(buffer_, size_, timeout_);
  // A failed read leaves nothing to deliver, which the caller sees as the end.
  count_ = n > 0 ? n : 0;
  return n >= 0;
}
