#include "ext/Tar.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/File.h"
#include "core/FileManager.h"
#include "core/Sorn.h"

namespace {

// Header fields: offset and length within the 512-byte block.
struct TarField {
  int offset;
  int length;
};
const TarField kName = {0, 100};
const TarField kMode = {100, 8};
const TarField kUid = {108, 8};
const TarField kGid = {116, 8};
const TarField kSize = {124, 12};
const TarField kMtime = {136, 12};
const TarField kChecksum = {148, 8};
const TarField kTypeflag = {156, 1};
const TarField kLinkname = {157, 100};
const TarField kUname = {265, 32};
const TarField kGname = {297, 32};
const TarField kDevmajor = {329, 8};
const TarField kDevminor = {337, 8};

// The checksum field is counted as eight blanks.
const long kChecksumBlanks = 8 * ' ';

// The octal number of a field. The copy ends at the field's end, so a
// field without a terminator cannot run into the next one.
long OctalField(const unsigned char* block, TarField field) {
  char copy[12 + 1];
  memcpy(copy, block + field.offset, field.length);
  copy[field.length] = '\0';
  return strtol(copy, nullptr, 8);
}

// A text field into a buffer of field.length + 1 bytes.
void TextField(const unsigned char* block, TarField field, char* text) {
  memcpy(text, block + field.offset, field.length);
  text[field.length] = '\0';
}

}  // namespace

Tar::Tar(Sorn* sorn) : sorn_(sorn), file_(nullptr), index_(0), dataoffset_(0), nextheader_(0) {
  ClearFields();
  mode_ = uid_ = gid_ = size_ = mtime_ = devmajor_ = devminor_ = -1;
  type_ = TarOther;
}

Tar::~Tar() { Close(); }

void Tar::ClearFields() {
  mode_ = uid_ = gid_ = size_ = mtime_ = devmajor_ = devminor_ = 0;
  type_ = TarZeroBlock;
  name_[0] = linkname_[0] = uname_[0] = gname_[0] = '\0';
}

int Tar::Open(const String& path, const String& displayName) {
  Close();
  path_ = path;
  displayname_ = displayName;
  FileManager* files = sorn_->filemanager();
  file_ = files->Open(path, FileRead);
  if (file_ == nullptr) {
    Error("Error opening '" + displayName + "': " + files->error());
    return 0;
  }
  return 1;
}

void Tar::Close() {
  delete file_;
  file_ = nullptr;
  index_ = 0;
  dataoffset_ = nextheader_ = 0;
  path_ = String();
  displayname_ = String();
}

int Tar::First() {
  dataoffset_ = nextheader_ = 0;
  index_ = ReadNextHeader() ? 1 : 0;
  return index_;
}

int Tar::Next() {
  index_ = ReadNextHeader() ? index_ + 1 : 0;
  return index_;
}

int Tar::ReadNextHeader() {
  if (file_ == nullptr) return 0;
  if (file_->Seek(nextheader_) != nextheader_) return 0;
  unsigned char block[kBlockSize];
  if (file_->Read(block, kBlockSize) != kBlockSize) return 0;
  dataoffset_ = nextheader_ + kBlockSize;

  long sum = kChecksumBlanks;
  for (int i = 0; i < kBlockSize; i++)
    if (i < kChecksum.offset || i >= kChecksum.offset + kChecksum.length) sum += block[i];
  if (sum == kChecksumBlanks) {
    ClearFields();
    nextheader_ = dataoffset_;
    return 1;
  }
  if (sum != OctalField(block, kChecksum)) {
    Error("Error reading from '" + displayname_ + "': Header checksum mismatch");
    return 0;
  }

  // strtol takes a sign, so a header whose checksum holds can still give a
  // negative size, or one whose rounding would overflow: either would move
  // the walk backwards, round and round the same headers.
  const long size = OctalField(block, kSize);
  if (size < 0 || size > LONG_MAX - dataoffset_ - kBlockSize) {
    Error("Error reading from '" + displayname_ + "': Header size out of range");
    return 0;
  }
  TextField(block, kName, name_);
  TextField(block, kLinkname, linkname_);
  TextField(block, kUname, uname_);
  TextField(block, kGname, gname_);
  mode_ = OctalField(block, kMode);
  uid_ = OctalField(block, kUid);
  gid_ = OctalField(block, kGid);
  size_ = size;
  mtime_ = OctalField(block, kMtime);
  devmajor_ = OctalField(block, kDevmajor);
  devminor_ = OctalField(block, kDevminor);

  switch (block[kTypeflag.offset]) {
    case '\0':
    case '0': {
      const size_t length = strlen(name_);
      type_ = length > 0 && name_[length - 1] == '/' ? TarDirectory : TarRegular;
      break;
    }
    case '1':
      type_ = TarHardLink;
      break;
    case '2':
      type_ = TarSymbolicLink;
      break;
    case '5':
      type_ = TarDirectory;
      break;
    default:
      type_ = TarOther;
      break;
  }
  nextheader_ = dataoffset_ + (size + kBlockSize - 1) / kBlockSize * kBlockSize;
  return 1;
}

int Tar::Write(const String& path, const String& displayName) {
  if (index_ == 0 || type_ != TarRegular) return 1;
  FileManager* files = sorn_->filemanager();
  File* out = files->Open(path, FileWrite | FileCreate | FileTruncate);
  if (out == nullptr) {
    Error("Error creating '" + displayName + "': " + files->error());
    return 0;
  }
  int result = 1;
  char block[kBlockSize];
  long left = file_->Seek(dataoffset_) == dataoffset_ ? size_ : 0;
  while (left > 0) {
    const int want = left < kBlockSize ? (int)left : kBlockSize;
    const int got = file_->Read(block, want);
    if (got <= 0) break;
    if (out->Write(block, got) != got) {
      // The reason is the write's own; the file manager saw only the open.
      Error("Error writing to '" + displayName + "': " + out->error());
      result = 0;
      break;
    }
    if (got < want) break;
    left -= got;
  }
  delete out;
  return result;
}
