// URL and entity codings of Sorn.
#include <cctype>
#include <cstring>

#include "core/Sorn.h"

namespace {

bool NeedsEscape(unsigned char c) {
  static const char kEscaped[] = "~`!#$%^&()+={}[]|\\:;\"'<>,?/";
  return c >= 128 || (c != 0 && strchr(kEscaped, c) != nullptr);
}

int HexDigit(int c) {
  c = toupper(c);
  return c < 65 ? c - 0x30 : (c & 0xDF) - 0x37;
}

}  // namespace

String Sorn::HexValue(const unsigned char c) {
  static const char kDigits[] = "0123456789ABCDEF";
  char text[4] = {'%', kDigits[c >> 4], kDigits[c & 15], 0};
  return String(text, 3);
}

void Sorn::EncodeAttribute(String& text) {
  String result;
  for (int i = 0; i < text.length(); i++) {
    unsigned char c = (unsigned char)text[i];
    if (c == ' ')
      result.cat('+');
    else if (NeedsEscape(c))
      result.cat(HexValue(c));
    else
      result.cat((char)c);
  }
  text = result;
}

void Sorn::DecodeAttribute(String& text) {
  String result;
  int n = text.length();
  for (int i = 0; i < n; i++) {
    char c = text[i];
    if (c == '+') {
      result.cat(' ');
    } else if (c == '%') {
      // Whatever digits follow are taken unchecked; a cut-off escape
      // reads the missing digits as zero bytes.
      int high = i + 1 < n ? (unsigned char)text[i + 1] : 0;
      int low = i + 2 < n ? (unsigned char)text[i + 2] : 0;
      result.cat((char)(16 * HexDigit(high) + HexDigit(low)));
      i += 2;
    } else {
      result.cat(c);
    }
  }
  text = result;
}

void Sorn::EncodeEntities(String& text) {
  String result;
  for (int i = 0; i < text.length(); i++) {
    switch (text[i]) {
      case '"': result.cat("&quot;"); break;
      case '&': result.cat("&amp;"); break;
      case '<': result.cat("&lt;"); break;
      case '>': result.cat("&gt;"); break;
      default: result.cat(text[i]);
    }
  }
  text = result;
}

void Sorn::DecodeEntities(String& text) {
  String result;
  int n = text.length();
  for (int i = 0; i < n; i++) {
    if (text[i] != '&') {
      result.cat(text[i]);
      continue;
    }
    int end = i + 1;
    while (end < n && text[end] != ';') end++;
    String name = text.at(i + 1, end);
    if (name.matches("quot"))
      result.cat('"');
    else if (name.matches("amp"))
      result.cat('&');
    else if (name.matches("lt"))
      result.cat('<');
    else if (name.matches("gt"))
      result.cat('>');
    else
      result.cat(name);
    i = end;
  }
  text = result;
}
