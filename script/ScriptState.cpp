#include "script/ScriptState.h"

#include <cstring>

#include "core/Output.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

ScriptState::ScriptState(ScriptParser* parser, Tag* tag)
    : parser_(parser), tag_(tag ? new Tag(tag) : nullptr) {}

ScriptState::ScriptState(ScriptState* parent, Tag* tag)
    : parser_(parent->parser_), tag_(tag ? new Tag(tag) : nullptr) {}

ScriptState::~ScriptState() { delete tag_; }

void ScriptState::ClearErrorVariable(Tag* tag) {
  // The name is built in a buffer that lives as long as the parser: no
  // allocation for the most frequent assignment of all.
  // The slot of the tag's id keeps the name it was last filled for: a tag
  // spelled the same way again needs no new name.
  NamedSlot* slot = parser_->errorslot(tag->id());
  if (slot != nullptr && slot->name.length() == tag->length() + 6 &&
      memcmp(slot->name.chars(), tag->chars(), tag->length()) == 0) {
    parser_->vars()->SetVariable(slot->name, String(), slot);
    return;
  }
  String& name = parser_->errorname();
  name.assign(tag->chars(), tag->length());
  name.cat("_Error", 6);
  parser_->vars()->SetVariable(name, String(), slot);
}

int ScriptState::RuntimeError(Tag* tag, const String& message) {
  if (!parser_->RuntimeError(tag, message)) return StateFailure;
  parser_->vars()->SetVariable(*tag + "_Error", message);
  return StateDone;
}

int ScriptState::ProcessTag(Tag* tag) {
  ClearErrorVariable(tag);
  switch (tag->id()) {
    case TagIF:
    case TagSnIF:
      return ProcessSnIF(tag);
    case TagLET:
    case TagSnLET:
      return ProcessSnLET(tag);
    case TagWHILE:
    case TagSnWHILE:
      return ProcessSnWHILE(tag);
    case TagIMPORT:
      if (tag->Find("STOP") != nullptr) return Pass(tag);
      return ProcessIMPORT(tag);
    case TagEXPORT:
      return ProcessEXPORT(tag);
    case TagEVAL:
      return ProcessEVAL(tag);
    case TagHIDE:
      return ProcessHIDE(tag);
    case TagFILE:
      return ProcessFILE(tag);
    case TagLOOMTEXT:
      return ProcessLOOMTEXT(tag);
    case TagSnOPEN:
      return ProcessSnOPEN(tag);
    case TagSnCREATE:
      return ProcessSnCREATE(tag);
    case TagSnCLOSE:
      return ProcessSnCLOSE(tag);
    case TagSnSKIP:
    case TagSnGO:
    case TagSnFIND:
    case TagSnFILTER:
    case TagSnUPDATE:
    case TagSnDELETE:
    case TagSnUNDELETE:
    case TagSnADD:
    case TagSnREVEALSTRUCTURE:
      return ProcessViewTag(tag);
    case TagSnPRIMARY:
      return ProcessSnPRIMARY(tag);
    case TagSnSETINDEX:
      return ProcessSnSETINDEX(tag);
    case TagSnMAKEINDEX:
      return ProcessSnMAKEINDEX(tag);
    case TagSnPACK:
      return ProcessSnPACK(tag);
    case TagSnREINDEX:
      return ProcessSnREINDEX(tag);
    case TagSnOPENVIEW:
      return ProcessSnOPENVIEW(tag);
    case TagSnCLOSEVIEW:
      return ProcessSnCLOSEVIEW(tag);
    case TagSnQUERY:
      return ProcessSnQUERY(tag);
    case TagCALL:
    case TagSnCALL:
      return ProcessSnCALL(tag);
    case TagSnSMTP:
      return ProcessSnSMTP(tag);
    case TagSnPOP:
      return ProcessSnPOP(tag);
    case TagMAIL:
      return ProcessMAIL(tag);
    case TagSnCOMMERCE:
      return ProcessSnCOMMERCE(tag);
    case TagSORN:
      return ProcessSORN(tag);
    case TagSnIMPORT:
      return ProcessSnIMPORT(tag);
    case TagSnEXPORT:
      return ProcessSnEXPORT(tag);
    case TagSnLOCALIZED:
      return ProcessSnLOCALIZED(tag);
    case TagSnASSIGN:
      return ProcessSnASSIGN(tag);
    case TagSnEVAL:
      return ProcessSnEVAL(tag);
    case TagSnHIDE:
      return ProcessSnHIDE(tag);
    case TagSnFUNCTION:
      return ProcessSnFUNCTION(tag);
    case TagSnDO:
      return ProcessSnDO(tag);
    case TagSnLOCKFILE:
      return ProcessSnLOCKFILE(tag);
    case TagSnIMPORTSTOP:
    case TagSnPOPSTOP:
    case TagSnPOPDELETE:
    case TagSnWHILESTOP:
    case TagSnCALLSTOP:
    case TagSnFUNCRETURN:
    case TagSnCOMMERCESTOP:
      return Pass(tag);
    default:
      parser_->SyntaxError("Unexpected &lt;" + *tag + "&gt;");
      return StateFailure;
  }
}

int ScriptState::ProcessText(String& text, int level) {
  if (!(level & OutputText)) return StateHandled;
  Output* out = parser_->output();
  if (level & OutputCompressWhitespace) {
    text.CompressWhitespace();
    if (out->inwhitespace()) text.ltrim();
  }
  if (text.empty()) return StateHandled;
  out->inwhitespace() = IsWhite(text[text.length() - 1]);
  out->Write(text);
  return StateHandled;
}
