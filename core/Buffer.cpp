#include "core/Buffer.h"

#include "core/File.h"
#include "core/FileManager.h"
#include "core/Sorn.h"

Buffer::Buffer(Sorn* sorn, int size)
    : sorn_(sorn), file_(nullptr), data_(nullptr), size_(0), blocksize_(size > 0 ? size : 1),
      index_(0), offset_(0), valid_(0) {}

Buffer::~Buffer() {
  delete file_;
  delete[] data_;
}

int Buffer::Open(const char* path, const char* name) {
  path_ = path;
  name_ = name;
  delete file_;
  file_ = sorn_->filemanager()->Open(path_, FileRead);
  if (file_ == nullptr) return 0;
  // A file shorter than a block gets a block one byte longer than itself:
  // its first read finds the end just as a full block's would, and most
  // scripts and configuration files are a fraction of a block.
  long length = file_->Length();
  int size = length >= 0 && length < blocksize_ ? (int)length + 1 : blocksize_;
  if (size != size_) {
    delete[] data_;
    data_ = new char[size];
    size_ = size;
  }
  index_ = 0;
  offset_ = 0;
  valid_ = 0;
  return FillBuffer();
}

void Buffer::Close() {
  delete file_;
  file_ = nullptr;
  offset_ = 0;
  valid_ = 0;
  index_ = 0;
}

long Buffer::CurrentFilePosition() { return offset_ + index_; }

int Buffer::FillBuffer() {
  if (file_ == nullptr) return 0;
  if (file_->Seek(offset_) < 0) {
    valid_ = 0;
    return 0;
  }
  valid_ = file_->Read(data_, size_);
  if (valid_ < 0) {
    valid_ = 0;
    return 0;
  }
  return 1;
}

int Buffer::GetNextChar() {
  int c = -1;
  if (index_ < valid_) c = (unsigned char)data_[index_++];
  if (index_ >= valid_ && valid_ == size_) {
    // A full block was consumed: refill now, not on the next call.
    offset_ += size_;
    index_ = 0;
    valid_ = 0;
    FillBuffer();
  }
  return c;
}

void Buffer::UnGetChar() {
  if (index_ != 0) {
    index_--;
    return;
  }
  if (offset_ == 0) return;
  if (offset_ < size_) {
    index_ = (int)offset_ - 1;
    offset_ = 0;
  } else {
    index_ = size_ - 1;
    offset_ -= size_;
  }
  FillBuffer();
}

int Buffer::Seek(const long position) {
  if (position >= offset_ && position < offset_ + valid_) {
    index_ = (int)(position - offset_);
    return 1;
  }
  offset_ = position < 0 ? 0 : position;
  index_ = 0;
  return FillBuffer();
}
