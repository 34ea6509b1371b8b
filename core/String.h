// String: the engine's own text type. One owned, NUL-terminated buffer
// (none while empty); no sharing. A text of up to kLocal - 1 bytes lives in
// the object itself, since most texts a script handles are that short and
// an allocation for each would cost more than the work on them; longer ones
// are on the heap in multiples of 24 bytes. The length is authoritative, so
// embedded NUL bytes survive assign, cat and at.
#ifndef SORN_CORE_STRING_H
#define SORN_CORE_STRING_H

class String {
 public:
  enum { kQuantum = 24, kLocal = 16 };
  // The longest text a String holds; what would go past it is dropped, so
  // that no length arithmetic can overflow.
  enum { kMaxLength = 1 << 30 };

  String();
  String(const char* text, int length = -1);
  String(const String& other);
  // Moving hands the buffer over; the source is left empty.
  String(String&& other) noexcept : buffer_(nullptr), capacity_(0), length_(0) { Take(other); }
  ~String();
  String& operator=(const String& other);
  String& operator=(String&& other) noexcept;
  String& operator=(const char* text) { return assign(text, -1); }

  String& assign(const char* text, int length = -1);
  String& assign(char c);
  String& cat(const char* text, int length = -1);
  String& cat(char c);
  String& cat(const String& s) { return cat(s.chars(), s.length_); }
  String& prepend(const char* text);
  String& prepend(char c);

  // Case-sensitive byte search; -1 for an empty pattern or string.
  int search(const char* pattern, int from = 0) const;
  int index(const char* pattern) const { return search(pattern, 0); }
  bool contains(char c, int from = 0) const;
  bool contains(const char* pattern, int from = 0) const { return search(pattern, from) >= 0; }
  bool matches(char c, int position = 0) const;
  // Case-insensitive equality of the whole rest of the string with text.
  bool matches(const char* text, int position = 0) const;
  int freq(const char* pattern) const;

  String before(int n) const;
  String before(const char* pattern) const;  // whole string when absent
  String after(int n) const;
  String after(const char* pattern, int from = 0) const;  // empty when absent
  String from(int n) const;
  String from(const char* pattern, int from = 0) const;
  String at(int start, int end) const;  // half-open range

  void StripWhitespace();
  void ltrim();
  void CompressWhitespace();
  void upcase();
  void lowcase();
  String upper() const;
  String lower() const;
  int gsub(const char* pattern, const char* replacement);
  String padl(int width, char c) const;
  String padr(int width, char c) const;

  const char* chars() const { return buffer_ ? buffer_ : ""; }
  operator const char*() const { return chars(); }
  int length() const { return length_; }
  int capacity() const { return capacity_; }
  bool empty() const { return length_ == 0; }
  char operator[](int i) const { return chars()[i]; }

  // Cuts the text to n characters (n at most the length).
  void truncate(int n);

  static int Round(int n) { return ((n + kQuantum - 1) / kQuantum) * kQuantum; }

 private:
  void Reserve(int n);
  // Gives up the buffer (keeping nothing) and takes other's, leaving other empty.
  void Take(String& other) noexcept;
  // A buffer for at least capacity bytes: the local one when it fits.
  char* Allocate(int capacity, int* granted);
  void Release() {
    if (buffer_ != local_) delete[] buffer_;
  }

  char* buffer_;
  int capacity_;
  int length_;
  char local_[kLocal];
};

String operator+(char c, const String& s);
String operator+(const String& a, const String& b);
String operator+(const String& a, const char* b);
String operator+(const char* a, const String& b);
bool operator==(const String& a, const char* b);
inline bool operator!=(const String& a, const char* b) { return !(a == b); }
bool operator==(const String& a, const String& b);

// Splits source at each separator into at most maximum pieces; returns the
// number stored. A trailing separator gives no trailing empty piece.
int split(const String& source, String* pieces, int maximum, const String& separator);

// A number written as "%ld" writes it.
String Decimal(long value);

// The piece of text from position up to the next separator, one per call;
// false once the text is used up (an empty text gives one empty piece).
bool NextPiece(const String& text, char separator, int& position, String& piece);

// A String is its own key in the containers.
inline const char* ElementName(const String* s) { return s->chars(); }

// The characters the scanner counts as white space.
inline bool IsWhite(int c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

#endif
