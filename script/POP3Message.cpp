#include "script/POP3Message.h"

#include "core/File.h"

POP3Message::POP3Message(Sorn*, int number, int size)
    : file_(nullptr), inbody_(0), number_(number), size_(size), headers_(1) {}

POP3Message::~POP3Message() { delete file_; }

void POP3Message::OpenFile(File* file, const String& path, const String& relativePath) {
  delete file_;
  file_ = file;
  path_ = path;
  relativePath_ = relativePath;
  inbody_ = 0;
  headers_.Dump();
}

void POP3Message::SaveLine(const String& line) {
  if (!inbody_) {
    if (line.empty()) {
      inbody_ = 1;
    } else {
      int colon = line.index(": ");
      if (colon >= 0) {
        String name = line.before(colon);
        if (headers_.Find(name) == nullptr) headers_.Insert(new POP3Header(name, line.from(colon + 2)));
      }
    }
  }
  if (file_ != nullptr) {
    String text = line;
    text.cat('\n');
    if (file_->Write(text) < 0) error_ = file_->error();
  }
}

void POP3Message::CloseFile() {
  delete file_;
  file_ = nullptr;
}

String POP3Message::headers(const String& name) {
  POP3Header* header = headers_.Find(name);
  return header != nullptr ? header->value : String();
}
