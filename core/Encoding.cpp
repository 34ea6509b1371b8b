// URL and entity codings of Sorn. Each builds its result in one scratch
// buffer and stops at the end of the text, whatever the text holds.
#include <cstring>
#include <string>

#include "core/Keys.h"
#include "core/Sorn.h"

namespace {

const char kHexDigits[] = "0123456789ABCDEF";

bool NeedsEscape(unsigned char c) {
  static const char kEscaped[] = "~`!#$%^&()+={}[]|\\:;\"'<>,?/";
  return c >= 128 || (c != 0 && strchr(kEscaped, c) != nullptr);
}

// One digit of a %XX escape, unchecked: whatever the arithmetic gives.
int HexDigit(unsigned char c) {
  int u = (c >= 'a' && c <= 'z') ? c - 'a' + 'A' : c;
  return u < 65 ? u - 0x30 : (u & 0xDF) - 0x37;
}

// Case-insensitive equality of text[start, end) with word.
bool IsName(const char* text, int start, int end, const char* word) {
  size_t n = strlen(word);
  return (size_t)(end - start) == n && CompareKeys(text + start, word, n) == 0;
}

void Store(String& text, const std::string& result) { text.assign(result.data(), (int)result.size()); }

}  // namespace

String Sorn::HexValue(const unsigned char c) {
  char text[3] = {'%', kHexDigits[c >> 4], kHexDigits[c & 15]};
  return String(text, 3);
}

void Sorn::EncodeAttribute(String& text) {
  if (text.empty()) return;
  std::string result;
  result.reserve(text.length());
  for (int i = 0; i < text.length(); i++) {
    unsigned char c = (unsigned char)text[i];
    if (c == ' ') {
      result += '+';
    } else if (NeedsEscape(c)) {
      result += '%';
      result += kHexDigits[c >> 4];
      result += kHexDigits[c & 15];
    } else {
      result += (char)c;
    }
  }
  Store(text, result);
}

void Sorn::DecodeAttribute(String& text) {
  if (text.empty()) return;
  std::string result;
  result.reserve(text.length());
  const int n = text.length();
  for (int i = 0; i < n; i++) {
    char c = text[i];
    if (c == '+') {
      result += ' ';
    } else if (c == '%' && i + 2 < n) {
      // The two characters are taken as digits without any check.
      int value = 16 * HexDigit((unsigned char)text[i + 1]) + HexDigit((unsigned char)text[i + 2]);
      result += (char)(unsigned char)(value & 0xFF);
      i += 2;
    } else {
      // Includes a '%' too close to the end to hold two digits: kept as is.
      result += c;
    }
  }
  Store(text, result);
}

void Sorn::EncodeEntities(String& text) {
  if (text.empty()) return;
  std::string result;
  result.reserve(text.length());
  for (int i = 0; i < text.length(); i++) {
    switch (text[i]) {
      case '"': result += "&quot;"; break;
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      default: result += text[i];
    }
  }
  Store(text, result);
}

void Sorn::DecodeEntities(String& text) {
  if (text.empty()) return;
  std::string result;
  result.reserve(text.length());
  const int n = text.length();
  const char* data = text.chars();
  for (int i = 0; i < n; i++) {
    if (data[i] != '&') {
      result += data[i];
      continue;
    }
    // The name runs to ';' or to the end of the text.
    int start = i + 1;
    int end = start;
    while (end < n && data[end] != ';') end++;
    if (IsName(data, start, end, "quot"))
      result += '"';
    else if (IsName(data, start, end, "amp"))
      result += '&';
    else if (IsName(data, start, end, "lt"))
      result += '<';
    else if (IsName(data, start, end, "gt"))
      result += '>';
    else
      result.append(data + start, end - start);
    i = end;
  }
  Store(text, result);
}
