#include "core/String.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/Keys.h"

// An empty String owns no storage (buffer_ null, capacity 0) until text
// arrives; allocations are always whole multiples of the 24-byte quantum.
String::String() : buffer_(nullptr), capacity_(0), length_(0) {}

String::String(const char* text, int length) : buffer_(nullptr), capacity_(0), length_(0) {
  if (text != nullptr) assign(text, length);
}

String::String(const String& other) : buffer_(nullptr), capacity_(0), length_(0) {
  if (other.length_ > 0) assign(other.buffer_, other.length_);
}

String::~String() { Release(); }

String& String::operator=(const String& other) {
  if (this == &other) return *this;
  return assign(other.buffer_, other.length_);
}

String& String::operator=(String&& other) noexcept {
  if (this != &other) Take(other);
  return *this;
}

void String::Take(String& other) noexcept {
  Release();
  if (other.buffer_ == other.local_) {
    memcpy(local_, other.local_, kLocal);
    buffer_ = local_;
  } else {
    buffer_ = other.buffer_;
  }
  capacity_ = other.capacity_;
  length_ = other.length_;
  other.buffer_ = nullptr;
  other.capacity_ = 0;
  other.length_ = 0;
}

char* String::Allocate(int capacity, int* granted) {
  if (capacity <= kLocal && buffer_ != local_) {
    *granted = kLocal;
    return local_;
  }
  *granted = Round(capacity);
  return new char[*granted];
}

// Makes room for n characters and the terminator, keeping the text.
void String::Reserve(int n) {
  if (n + 1 <= capacity_) return;
  int capacity;
  char* grown = Allocate(n + 1, &capacity);
  if (length_ > 0) memcpy(grown, buffer_, length_);
  grown[length_] = 0;
  Release();
  buffer_ = grown;
  capacity_ = capacity;
}

String& String::assign(const char* text, int length) {
  if (text == nullptr) text = "";
  if (length == -1) length = (int)strnlen(text, kMaxLength);
  if (length < 0) length = 0;
  if (length > kMaxLength) length = kMaxLength;
  if (length == 0) {
    if (buffer_ != nullptr) buffer_[0] = 0;
    length_ = 0;
    return *this;
  }
  if (length + 1 <= capacity_) {
    memmove(buffer_, text, length);
  } else {
    int capacity;
    char* fresh = Allocate(length + 1, &capacity);
    memcpy(fresh, text, length);
    Release();
    buffer_ = fresh;
    capacity_ = capacity;
  }
  buffer_[length] = 0;
  length_ = length;
  return *this;
}

String& String::assign(char c) {
  length_ = 0;
  Reserve(1);
  buffer_[0] = c;
  buffer_[1] = 0;
  length_ = 1;
  return *this;
}

String& String::cat(const char* text, int length) {
  if (text == nullptr) return *this;
  if (length == -1) length = (int)strnlen(text, kMaxLength);
  if (length > kMaxLength - length_) length = kMaxLength - length_;
  if (length <= 0) return *this;
  if (length_ + length >= capacity_) {
    if (text >= buffer_ && text < buffer_ + length_) {
      String copy(text, length);  // appending part of itself
      return cat(copy.buffer_, length);
    }
    Reserve(length_ + length);
  }
  memmove(buffer_ + length_, text, length);
  length_ += length;
  buffer_[length_] = 0;
  return *this;
}

// Grows by one quantum at a time, as character-by-character building does.
String& String::cat(char c) {
  if (length_ >= kMaxLength) return *this;
  if (length_ + 1 >= capacity_) Reserve(capacity_ - 1 + String::kQuantum);
  buffer_[length_++] = c;
  buffer_[length_] = 0;
  return *this;
}

String& String::prepend(const char* text) {
  // Built aside: text may lie in this very buffer.
  String joined(text);
  if (buffer_ != nullptr) joined.cat(buffer_, (int)strnlen(buffer_, kMaxLength));
  Take(joined);
  return *this;
}

String& String::prepend(char c) {
  char text[2] = {c, 0};
  return prepend(text);
}

int String::search(const char* pattern, int from) const {
  if (pattern == nullptr || buffer_ == nullptr) return -1;
  int plen = (int)strlen(pattern);
  if (plen == 0 || length_ == 0 || length_ < plen) return -1;
  if (from < 0) from = 0;
  for (int i = from; i + plen <= length_; i++) {
    if (buffer_[i] == pattern[0] && memcmp(buffer_ + i, pattern, plen) == 0) return i;
  }
  return -1;
}

bool String::contains(char c, int from) const {
  if (from < 0) from = 0;
  return from < length_ && memchr(buffer_ + from, c, length_ - from) != nullptr;
}

bool String::matches(char c, int position) const {
  if (length_ < position || position < 0) return false;
  return chars()[position] == c;
}

bool String::matches(const char* text, int position) const {
  int tlen = (int)strlen(text);
  if (position < 0) return false;
  if (length_ - position < tlen) return false;
  if (position >= length_) return true;
  // A longer rest fails where the text ends: on its terminator.
  if (length_ - position != tlen) return false;
  for (int i = position; i < length_; i++) {
    if (UpperASCII((unsigned char)buffer_[i]) != UpperASCII((unsigned char)text[i - position])) return false;
  }
  return true;
}

int String::freq(const char* pattern) const {
  int count = 0;
  for (int at = search(pattern, 0); at >= 0; at = search(pattern, at + 1)) count++;
  return count;
}

String String::before(int n) const {
  if (n >= length_) return *this;
  if (n < 0) return String();
  return String(buffer_, n);
}

String String::before(const char* pattern) const {
  int at = search(pattern, 0);
  if (at < 0) return *this;
  return String(buffer_, at);
}

String String::after(int n) const {
  if (n < -1 || n + 1 >= length_) return String();
  return String(buffer_ + n + 1, length_ - n - 1);
}

String String::after(const char* pattern, int from) const {
  int at = search(pattern, from);
  if (at < 0) return String();
  int start = at + (int)strlen(pattern);
  return String(buffer_ + start, length_ - start);
}

String String::from(int n) const {
  if (n >= length_) return String();
  if (n < 0) n = 0;
  return String(buffer_ + n, length_ - n);
}

String String::from(const char* pattern, int from) const {
  int at = search(pattern, from);
  if (at < 0) return String();
  return String(buffer_ + at, length_ - at);
}

String String::at(int start, int end) const {
  if (start < 0) start = 0;
  if (start >= length_) return String();
  if (end > length_) end = length_;
  if (end <= start) return String();
  return String(buffer_ + start, end - start);
}

void String::StripWhitespace() {
  if (buffer_ == nullptr) return;
  int len = (int)strlen(buffer_);
  int start = 0;
  while (start < len && IsWhite(buffer_[start])) start++;
  while (len > start && IsWhite(buffer_[len - 1])) len--;
  memmove(buffer_, buffer_ + start, len - start);
  length_ = len - start;
  buffer_[length_] = 0;
}

void String::ltrim() {
  if (buffer_ == nullptr) return;
  int len = (int)strlen(buffer_);
  int start = 0;
  while (start < len && IsWhite(buffer_[start])) start++;
  memmove(buffer_, buffer_ + start, len - start);
  length_ = len - start;
  buffer_[length_] = 0;
}

void String::CompressWhitespace() {
  if (buffer_ == nullptr) return;
  int len = (int)strlen(buffer_);
  int out = 0;
  bool inrun = false;
  for (int i = 0; i < len; i++) {
    bool white = IsWhite(buffer_[i]);
    if (!(white && inrun)) buffer_[out++] = buffer_[i];
    inrun = white;
  }
  length_ = out;
  buffer_[out] = 0;
}

void String::upcase() {
  for (int i = 0; i < length_; i++) buffer_[i] = (char)UpperASCII((unsigned char)buffer_[i]);
}

void String::lowcase() {
  for (int i = 0; i < length_; i++) buffer_[i] = (char)LowerASCII((unsigned char)buffer_[i]);
}

String String::upper() const {
  String s(*this);
  s.upcase();
  return s;
}

String String::lower() const {
  String s(*this);
  s.lowcase();
  return s;
}

int String::gsub(const char* pattern, const char* replacement) {
  int at = search(pattern, 0);
  if (at < 0) return 0;
  int plen = (int)strlen(pattern);
  String result;
  int last = 0, count = 0;
  while (at >= 0) {
    result.cat(buffer_ + last, at - last);
    if (replacement) result.cat(replacement, -1);
    last = at + plen;
    count++;
    at = search(pattern, last);
  }
  result.cat(buffer_ + last, length_ - last);
  *this = result;
  return count;
}

// Both make room for the whole width at once: growing a quantum per pad
// character would copy the text over and over for a wide pad.
String String::padl(int width, char c) const {
  if (width > kMaxLength) width = kMaxLength;
  if (length_ >= width) return *this;
  String s;
  s.Reserve(width);
  memset(s.buffer_, c, width - length_);
  if (length_ > 0) memcpy(s.buffer_ + (width - length_), buffer_, length_);
  s.length_ = width;
  s.buffer_[width] = 0;
  return s;
}

String String::padr(int width, char c) const {
  if (width > kMaxLength) width = kMaxLength;
  if (length_ >= width) return *this;
  String s;
  s.Reserve(width);
  if (length_ > 0) memcpy(s.buffer_, buffer_, length_);
  memset(s.buffer_ + length_, c, width - length_);
  s.length_ = width;
  s.buffer_[width] = 0;
  return s;
}

void String::truncate(int n) {
  if (buffer_ == nullptr || n < 0 || n >= length_) return;
  length_ = n;
  buffer_[n] = 0;
}

String operator+(char c, const String& s) {
  String r;
  r.assign(c);
  r.cat(s);
  return r;
}

String operator+(const String& a, const String& b) {
  String r(a);
  r.cat(b);
  return r;
}

String operator+(const String& a, const char* b) {
  String r(a);
  r.cat(b, -1);
  return r;
}

String operator+(const char* a, const String& b) {
  String r(a);
  r.cat(b);
  return r;
}

bool operator==(const String& a, const char* b) { return strcmp(a.chars(), b ? b : "") == 0; }

bool operator==(const String& a, const String& b) {
  return a.length() == b.length() && memcmp(a.chars(), b.chars(), a.length()) == 0;
}

int split(const String& source, String* pieces, int maximum, const String& separator) {
  if (separator.empty()) {
    if (maximum > 0) {
      pieces[0] = source;
      return 1;
    }
    return 0;
  }
  int count = 0, start = 0;
  int at = source.search(separator, 0);
  while (count < maximum && at >= 0) {
    pieces[count++] = source.at(start, at);
    start = at + separator.length();
    at = source.search(separator, start);
  }
  if (count < maximum && start < source.length()) pieces[count++] = source.from(start);
  return count;
}

String Decimal(long value) {
  char text[24];
  return String(text, (int)(std::to_chars(text, text + sizeof text, value).ptr - text));
}

bool NextPiece(const String& text, char separator, int& position, String& piece) {
  if (position > text.length()) return false;
  int end = position;
  while (end < text.length() && text[end] != separator) end++;
  piece = text.at(position, end);
  position = end + 1;
  return true;
}
