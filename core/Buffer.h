// Buffer: block-buffered reading of a script or configuration file, with a
// cheap UnGetChar and Seek over file positions. A block is not aligned: a
// seek outside the current block starts the next block exactly there.
#ifndef SORN_CORE_BUFFER_H
#define SORN_CORE_BUFFER_H

#include "core/String.h"

class File;
class Sorn;

class Buffer {
 public:
  Buffer(Sorn* sorn, int size);
  virtual ~Buffer();
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  // Opens path for reading; name is what messages show. False when the file
  // cannot be opened (the reason stays with the file manager).
  int Open(const char* path, const char* name);
  void Close();

  virtual long CurrentFilePosition();
  // 1 when only the read index moved, else the result of FillBuffer.
  virtual int Seek(const long position);
  // The next byte (0..255) or -1 at the end of the file.
  virtual int GetNextChar();
  virtual void UnGetChar();
  virtual int FillBuffer();
  virtual int inmacro() { return 0; }
  virtual void SetExpandMacros(int) {}

  const char* path() const { return path_.chars(); }
  const char* name() const { return name_.chars(); }
  Sorn* sorn() const { return sorn_; }

 protected:
  Sorn* sorn_;
  File* file_;
  char* data_;
  int size_;       // of this file's blocks: the block size, or less for a short file
  int blocksize_;  // as asked for
  int index_;
  long offset_;
  int valid_;
  String path_;
  String name_;
};

#endif
