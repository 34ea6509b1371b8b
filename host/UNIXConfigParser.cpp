#include "host/UNIXConfigParser.h"

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
#include "host/UNIXConfig.h"

UNIXConfigParser::UNIXConfigParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config)
    : Parser(sorn, buffer), config_(config) {
  SetupSupportedTags();
}

void UNIXConfigParser::SetupSupportedTags() {
  tags_.Insert(new Tag("VIRTUALHOST", 1, 2));
  tags_.Insert(new Tag("/VIRTUALHOST", 2, 0));
  tags_.Insert(new Tag("CONTENT-TYPE", 5, 0));
  tags_.Insert(new Tag("COMMERCE-LIB", 6, 0));
  tags_.Insert(new Tag("PACKAGE", 7, 0));
}

// A line ends at a line end (handed back as a line of its own), at '<'
// (a tag follows) or at '#' (a comment runs to the line end). A backslash
// keeps itself and the character behind it.
int UNIXConfigParser::GetNextLine(String& line) {
  line = String();
  for (;;) {
    int c = buffer_->GetNextChar();
    switch (c) {
      case -1:
        return ScanEndOfFile;
      case '<':
        buffer_->UnGetChar();
        return ScanStop;
      case '\n':
        if (!line.empty()) {
          buffer_->UnGetChar();
          return ScanContinue;
        }
        CountLine();
        line.cat('\n');
        return ScanContinue;
      case '#':
        do {
          c = buffer_->GetNextChar();
        } while (c != '\n' && c != -1);
        if (c == -1) return ScanEndOfFile;
        buffer_->UnGetChar();
        break;
      case '\\':
        line.cat('\\');
        c = buffer_->GetNextChar();
        if (c == -1) return ScanEndOfFile;
        if (c == '\n') CountLine();
        line.cat((char)c);
        break;
      default:
        line.cat((char)c);
    }
  }
}

int UNIXConfigParser::ProcessText(String& text) {
  String line(text);
  line.StripWhitespace();
  if (line.empty()) return 1;
  if (!line.contains('=')) {
    sorn_->Error(ConfigurationSyntaxError(config_, line_, "Missing ="));
    return 0;
  }
  String name = line.before("=");
  String value = line.after("=");
  name.StripWhitespace();
  value.StripWhitespace();
  if (config_->SetConfigValue(name, value) != 0) {
    sorn_->Error(ConfigurationSyntaxError(config_, line_, "'" + value + "' is not a valid value for " + name));
    return 0;
  }
  return 1;
}

int UNIXConfigParser::ProcessKnownTag(Tag*) { return 1; }
