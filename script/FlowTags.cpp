// Flow control and output tags: SnIF, SnWHILE, SnLOCKFILE, the assignments,
// SnEVAL, SnHIDE and SORN, and the older EVAL, HIDE and LOOMTEXT.
#include <cstdio>

#include "core/Buffer.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/Output.h"
#include "core/Sorn.h"
#include "script/Expression.h"
#include "script/FlowStates.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

namespace {

// The one attribute of SnIF, SnWHILE and SnEVAL; null after the error.
NameValuePair* SoleAttribute(ScriptParser* parser, Tag* tag) {
  int count = tag->attributes().Entries();
  if (count != 1) {
    parser->SyntaxError(*tag + " expects exactly 1 name/value pair, found " + Decimal(count));
    return nullptr;
  }
  return tag->attributes().First();
}

// Skips the rest of a body to its closing tag (or, with withelse, to an
// SnELSE) at the same depth. 1 with *found set to the tag met; an end of
// file is reported here.
int SkipBody(ScriptParser* parser, int opening, int withelse, int* found) {
  struct Body {
    int id;
    const char* name;
    int closingid;
    const char* closing;
  };
  static const Body kBodies[] = {
      {TagIF, "IF", TagEndIF, "/IF"},
      {TagSnIF, "SnIF", TagEndSnIF, "/SnIF"},
      {TagWHILE, "WHILE", TagEndWHILE, "/WHILE"},
      {TagSnWHILE, "SnWHILE", TagEndSnWHILE, "/SnWHILE"},
  };
  const Body* body = &kBodies[0];
  for (const Body& b : kBodies)
    if (b.id == opening) body = &b;
  TagTable targets(1);
  targets.Insert(new Tag(body->name, body->id, body->closingid));
  targets.Insert(new Tag(body->closing, body->closingid, 0));
  if (withelse && opening == TagSnIF) targets.Insert(new Tag("SnELSE", TagSnELSE, -1));
  Tag* tag = nullptr;
  int result = parser->FindTag(&tag, &targets);
  if (result == ScanEndOfFile)
    parser->SyntaxError(String("Unexpected end of file looking for &lt;") + body->closing + "&gt;");
  if (tag != nullptr) *found = tag->id();
  delete tag;
  return result;
}

}  // namespace

int ScriptState::ProcessSnIF(Tag* tag) {
  NameValuePair* pair = SoleAttribute(parser_, tag);
  if (pair == nullptr) return StateFailure;
  if (tag->id() == TagSnIF && !pair->name.empty()) parser_->vars()->SetVariable(pair->name, pair->value);
  IFState* state = new IFState(this, tag);
  int result = state->Continue(pair->value);
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  if (result == StateLeave) result = state->ExitState();
  delete state;
  return result;
}

int IFState::SkipTo(int withelse) {
  int id = 0;
  int result = SkipBody(parser_, tag_->id(), withelse, &id);
  if (result != ScanDone) return StateFailure;
  return id == TagSnELSE ? StateHandled : StateLeave;
}

int IFState::Continue(const String& value) {
  if (Expression::IsTrue(value)) return StateHandled;
  int result = SkipTo(1);
  if (result == StateLeave) closed_ = 1;
  return result;
}

int IFState::ProcessTag(Tag* tag) {
  if (tag->id() == tag_->closingid()) {
    closed_ = 1;
    return StateLeave;
  }
  if (tag->id() == TagSnELSE && tag_->id() == TagSnIF) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int IFState::ExitState() {
  if (closed_) return StateHandled;
  int result = SkipTo(0);
  return result == StateFailure ? StateFailure : StateHandled;
}

int ScriptState::ProcessSnWHILE(Tag* tag) {
  String name;
  if (tag->id() == TagSnWHILE) {
    NameValuePair* pair = SoleAttribute(parser_, tag);
    if (pair == nullptr) return StateFailure;
    name = pair->name;
  }
  WHILEState* state = new WHILEState(this, tag, name);
  int result = state->Continue();
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  if (result == StateLeave) result = state->ExitState();
  delete state;
  return result;
}

WHILEState::WHILEState(ScriptState* parent, Tag* tag, const String& name)
    : ScriptState(parent, tag),
      done_(0),
      bodyposition_(parser_->buffer()->CurrentFilePosition()),
      bodyline_(parser_->line()),
      expressionposition_(tag->fileposition()),
      expressionline_(tag->line()),
      name_(name) {}

int WHILEState::EvaluateExpression() {
  String value;
  if (!parser_->EvaluateAt(expressionposition_, expressionline_, value)) return StateFailure;
  if (!name_.empty()) parser_->vars()->SetVariable(name_, value, &nameslot_);
  return Expression::IsTrue(value) ? StateHandled : StateLeave;
}

// A false first test leaves done_ clear, so that ExitState skips the body.
int WHILEState::Continue() { return EvaluateExpression(); }

int WHILEState::ProcessTag(Tag* tag) {
  if (tag->id() == tag_->closingid()) {
    if (EvaluateExpression() == StateHandled) {
      parser_->buffer()->Seek(bodyposition_);
      parser_->SetLine(bodyline_);
      return StateHandled;
    }
    done_ = 1;
    return StateLeave;
  }
  if (tag->id() == TagSnWHILESTOP && tag_->id() == TagSnWHILE) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int WHILEState::ExitState() {
  if (done_) return StateHandled;
  int id = 0;
  return SkipBody(parser_, tag_->id(), 0, &id) == ScanDone ? StateHandled : StateFailure;
}

int ScriptState::ProcessSnASSIGN(Tag* tag) {
  NameValuePair* name = tag->Find("NAME");
  if (name == nullptr) {
    parser_->SyntaxError(*tag + " requires the NAME attribute to be specified");
    return StateFailure;
  }
  NameValuePair* value = tag->Find("VALUE");
  if (value == nullptr) {
    parser_->SyntaxError(*tag + " requires the VALUE attribute to be specified");
    return StateFailure;
  }
  parser_->vars()->SetVariable(name->value, value->value, tag->assignslot());
  return StateHandled;
}

int ScriptState::ProcessSnLET(Tag* tag) {
  int count = tag->attributes().Entries();
  if (count != 1) {
    parser_->SyntaxError(*tag + " expects exactly one 1 name/value pair, found " + Decimal(count));
    return StateFailure;
  }
  NameValuePair* pair = tag->attributes().First();
  if (pair->name.empty()) {
    parser_->SyntaxError(*tag + " requires a variable and an expression");
    return StateFailure;
  }
  parser_->vars()->SetVariable(pair->name, pair->value);
  return StateHandled;
}

int ScriptState::ProcessSnEVAL(Tag* tag) {
  NameValuePair* pair = SoleAttribute(parser_, tag);
  if (pair == nullptr) return StateFailure;
  if (!pair->name.empty()) parser_->vars()->SetVariable(pair->name, pair->value);
  if (!pair->value.empty()) {
    Output* out = parser_->output();
    out->Write(pair->value);
    out->inwhitespace() = IsWhite(pair->value[pair->value.length() - 1]);
  }
  return StateHandled;
}

int ScriptState::ProcessSnHIDE(Tag* tag) {
  String fields = tag->Value("FIELDS");
  if (fields.matches('"', 0) && !fields.empty()) fields = fields.at(1, fields.length() - 1);
  Output* out = parser_->output();
  String field;
  for (int at = 0; NextPiece(fields, ',', at, field);) {
    field.StripWhitespace();
    String value = parser_->vars()->Value(field);
    Sorn::EncodeEntities(value);
    out->Write("<INPUT TYPE=\"hidden\" NAME=\"" + field + "\" VALUE=\"" + value + "\">");
    out->inwhitespace() = 0;
  }
  return StateHandled;
}

int ScriptState::ProcessSORN(Tag* tag) {
  NameValuePair* p;
  if ((p = tag->Find("INTERPRET")) != nullptr) parser_->SetInterpret(p->value);
  if ((p = tag->Find("STANDARDOUTPUTLEVEL")) != nullptr)
    parser_->SetStandardOutputLevel(ScriptParser::StandardOutputLevelValue(p->value));
  if ((p = tag->Find("ERROROUTPUTLEVEL")) != nullptr)
    parser_->SetErrorOutputLevel(ScriptParser::ErrorOutputLevelValue(p->value));
  if ((p = tag->Find("ERRORMESSAGE")) != nullptr) parser_->SetErrorMessage(p->value);
  if ((p = tag->Find("DEFAULTMACROENCODING")) != nullptr) parser_->SetDefaultMacroEncoding(p->value);
  NameValueList& attributes = tag->attributes();
  for (p = attributes.First(); p != nullptr; p = attributes.Next()) {
    String upper = p->name.upper();
    int at = upper.search("_ERROR");
    if (at >= 0) parser_->SetTagErrorSettings(upper.before(at), p->value);
  }
  return StateHandled;
}

int ScriptState::ProcessSnLOCKFILE(Tag* tag) {
  String file = tag->Value("FILE");
  String resolved, message;
  if (!parser_->sorn()->ResolvePath(file, resolved, DataPath, message)) return RuntimeError(tag, message);
  LockFileState* state = new LockFileState(this, tag, file + ".lck", resolved + ".lck");
  int result = state->Lock();
  if (result == StateFailure) {
    delete state;
    return result;
  }
  parser_->states().Push(state);
  return result;
}

LockFileState::LockFileState(ScriptState* parent, Tag* tag, const String& display, const String& real)
    : ScriptState(parent, tag), file_(nullptr), displaypath_(display), realpath_(real) {}

LockFileState::~LockFileState() { delete file_; }

int LockFileState::Lock() {
  delete file_;
  file_ = nullptr;
  FileManager* files = parser_->sorn()->filemanager();
  file_ = files->Open(realpath_, FileWrite | FileCreate | FileTruncate);
  if (file_ == nullptr) return RuntimeError(tag_, "Error creating '" + displaypath_ + "': " + files->error());
  if (file_->Lock(FileLockExclusive, 0, 1) < 0)
    return RuntimeError(tag_, "Error locking '" + displaypath_ + "': " + file_->error());
  return StateHandled;
}

int LockFileState::ProcessTag(Tag* tag) {
  if (tag->id() == TagEndSnLOCKFILE) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int LockFileState::ExitState() {
  if (file_ != nullptr) {
    file_->Release(0, 0);
    delete file_;
    file_ = nullptr;
  }
  parser_->sorn()->filemanager()->Delete(realpath_);
  return StateHandled;
}

// The older EVAL: the scanner has already resolved the whole tag into one
// unnamed attribute, so there is nothing to assign.
int ScriptState::ProcessEVAL(Tag* tag) {
  NameValuePair* pair = tag->attributes().First();
  if (pair == nullptr) {
    parser_->SyntaxError("EVAL requires an expression");
    return StateFailure;
  }
  if (!pair->value.empty()) {
    Output* out = parser_->output();
    out->Write(pair->value);
    out->inwhitespace() = IsWhite(pair->value[pair->value.length() - 1]);
  }
  return StateHandled;
}

// The older HIDE writes values as stored and skips unknown names, so pages
// written for it keep their exact markup.
int ScriptState::ProcessHIDE(Tag* tag) {
  NameValuePair* pair = tag->attributes().First();
  if (pair == nullptr) {
    parser_->SyntaxError("HIDE requires a list of variables to hide");
    return StateFailure;
  }
  String names = pair->value;
  if (!names.empty() && names[0] == '"') names = names.length() < 2 ? String() : names.at(1, names.length() - 1);
  Output* out = parser_->output();
  String name;
  for (int at = 0; NextPiece(names, ',', at, name);) {
    name.StripWhitespace();
    Variable* variable = parser_->vars()->Find(name);
    if (variable == nullptr) continue;
    out->Write("<INPUT TYPE=\"hidden\" NAME=\"" + variable->name() + "\" VALUE=\"" + variable->value() + "\">");
    out->inwhitespace() = 0;
  }
  return StateHandled;
}

namespace {

// 1 on, 0 off, -1 neither (case ignored).
int Switch(const String& value) {
  String upper = value.upper();
  if (upper == "ON") return 1;
  if (upper == "OFF") return 0;
  return -1;
}

}  // namespace

int ScriptState::ProcessLOOMTEXT(Tag* tag) {
  int result = StateHandled;
  NameValuePair* p;
  if ((p = tag->Find("TAGDETECT")) != nullptr) {
    int on = Switch(p->value);
    if (on < 0) {
      parser_->SyntaxError("'" + p->value + "' is not a valid value for TAGDETECT");
      result = StateFailure;
    } else {
      parser_->SetTagDetect(on);
    }
  }
  if ((p = tag->Find("MACRO")) != nullptr) {
    int on = Switch(p->value);
    if (on < 0) {
      parser_->SyntaxError("'" + p->value + "' is not a valid value for MACRO");
      result = StateFailure;
    } else {
      parser_->SetExpandMacros(on);
    }
  }
  return result;
}
