#include "host/SiteVarsParser.h"

#include "core/Buffer.h"
#include "core/Sorn.h"

int SiteVarsParser::GetNextLine(String& line) {
  line = String();
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) return 4;
    if (c == '\r') continue;
    if (c == '\n') return 2;
    if (c == '\\') {
      c = buffer_->GetNextChar();
      if (c == -1) return 4;
      if (c == '\n') continue;
    }
    line.cat((char)c);
  }
}

int SiteVarsParser::Parse() {
  String line;
  while (GetNextLine(line) == 2) {
    if (line.empty() || line[0] == '#') continue;
    String name = line.before("=");
    name.StripWhitespace();
    String value = line.after("=");
    sorn_->AddSiteVariable(name, value);
  }
  return 1;
}
