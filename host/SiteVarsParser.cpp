#include "host/SiteVarsParser.h"

#include "core/Buffer.h"
#include "core/Sorn.h"
#include "script/Parser.h"

int SiteVarsParser::GetNextLine(String& line) {
  line = String();
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) return ScanEndOfFile;
    if (c == '\r') continue;
    if (c == '\n') return ScanContinue;
    if (c == '\\') {
      c = buffer_->GetNextChar();
      if (c == -1) return ScanEndOfFile;
      if (c == '\n') continue;
    }
    line.cat((char)c);
  }
}

int SiteVarsParser::Parse() {
  String line;
  while (GetNextLine(line) == ScanContinue) {
    if (line.empty() || line[0] == '#') continue;
    String name = line.before("=");
    name.StripWhitespace();
    String value = line.after("=");
    sorn_->AddSiteVariable(name, value);
  }
  return 1;
}
