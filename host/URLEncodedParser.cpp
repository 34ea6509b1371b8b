#include "host/URLEncodedParser.h"

#include "core/Sorn.h"
#include "script/Variables.h"

URLEncodedParser::URLEncodedParser(Sorn* sorn, int buffersize)
    : ContentParser(sorn), buffer_(nullptr), buffersize_(buffersize > 0 ? buffersize : 1) {
  buffer_ = new char[buffersize_];
}

URLEncodedParser::~URLEncodedParser() { delete[] buffer_; }

int URLEncodedParser::Parse(int length) {
  ContentCollector pending;
  int remaining = length;
  while (remaining > 0) {
    int want = remaining < buffersize_ ? remaining : buffersize_;
    int count = sorn_->ReadContent(buffer_, want);
    if (count <= 0) break;
    if (count > want) count = want;
    remaining -= count;
    int start = 0;
    while (start < count) {
      const char* amp = (const char*)memchr(buffer_ + start, '&', count - start);
      if (amp == nullptr) {
        pending.Append(buffer_ + start, count - start);
        break;
      }
      int end = (int)(amp - buffer_);
      pending.Append(buffer_ + start, end - start);
      AddPair(pending);
      pending.Clear();
      start = end + 1;
    }
  }
  AddPair(pending);
  return 0;
}

void URLEncodedParser::AddPair(const ContentCollector& pair) {
  if (pair.empty()) return;
  String text = pair.text();
  String name = text.before("=");
  String value = text.after("=");
  name.StripWhitespace();
  value.StripWhitespace();
  Sorn::DecodeAttribute(value);
  sorn_->vars()->AddFormVariable(name, value);
}
