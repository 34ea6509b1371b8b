#include "script/CommerceHandler.h"

#include "script/ScriptParser.h"
#include "script/Variables.h"

void CommerceHandler::SetFields(const String& text) {
  fields.Dump();
  String name;
  for (int at = 0; NextPiece(text, ',', at, name);) {
    name.StripWhitespace();
    // An empty FIELDS, or a stray comma, names no variable.
    if (name.empty()) continue;
    Variable* variable = parser->vars()->Find(name);
    fields.Insert(new Variable(name, variable != nullptr ? variable->value() : String()), ListTail);
  }
}
