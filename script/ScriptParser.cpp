#include "script/ScriptParser.h"

#include "core/Buffer.h"
#include "core/Output.h"
#include "core/Sorn.h"

ScriptParser::ScriptParser(Sorn* sorn, Buffer* buffer) : sorn_(sorn), buffer_(buffer), output_(sorn->output()) {}

ScriptParser::ScriptParser(ScriptParser* parent, Buffer* buffer)
    : sorn_(parent->sorn_), buffer_(buffer), output_(parent->output_) {}

int ScriptParser::Parse() {
  char line[512];
  int used = 0;
  for (int c = buffer_->GetNextChar(); c >= 0; c = buffer_->GetNextChar()) {
    line[used++] = (char)c;
    if (used == (int)sizeof line) {
      output_->Write(line, used);
      used = 0;
    }
  }
  output_->Write(line, used);
  return 1;
}
