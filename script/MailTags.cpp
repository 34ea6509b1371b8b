// SnSMTP, SnPOP and the older MAIL: the tags and their states.
#include "core/Buffer.h"
#include "script/MailStates.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

namespace {

// Pushes a started state, or finishes it at once: 0 fails, anything else
// runs the exit step.
int Settle(ScriptParser* parser, ScriptState* state, int result) {
  if (result == StateHandled) {
    parser->states().Push(state);
    return result;
  }
  if (result != StateFailure) result = state->ExitState();
  delete state;
  return result;
}

// Skips the rest of a mail body to its closing tag, nesting counted.
int SkipBody(ScriptParser* parser, int opening) {
  struct Body {
    int id;
    const char* name;
    int closingid;
    const char* closing;
  };
  static const Body kBodies[] = {
      {TagSnSMTP, "SnSMTP", TagEndSnSMTP, "/SnSMTP"},
      {TagSnPOP, "SnPOP", TagEndSnPOP, "/SnPOP"},
      {TagMAIL, "MAIL", TagEndMAIL, "/MAIL"},
  };
  const Body* body = &kBodies[0];
  for (const Body& b : kBodies)
    if (b.id == opening) body = &b;
  TagTable targets(1);
  targets.Insert(new Tag(body->name, body->id, body->closingid));
  targets.Insert(new Tag(body->closing, body->closingid, 0));
  Tag* found = nullptr;
  int result = parser->FindTag(&found, &targets);
  delete found;
  if (result == ScanEndOfFile)
    parser->SyntaxError(String("Unexpected end of file looking for &lt;") + body->closing + "&gt;");
  return result == ScanDone ? StateHandled : StateFailure;
}

}  // namespace

int ScriptState::ProcessSnSMTP(Tag* tag) {
  SendMailState* state = new SendMailState(this, tag);
  int result = state->StartSendMail(tag->Value("TO"), tag->Value("CC"), tag->Value("FROM"),
                                    tag->Value("SUBJECT"), tag->Value("MAILHOST"));
  return Settle(parser_, state, result);
}

int ScriptState::ProcessSnPOP(Tag* tag) {
  GetMailState* state = new GetMailState(this, tag);
  int result = state->StartGetMail(tag->Value("MAILHOST"), tag->Value("LOGIN"), tag->Value("PASSWORD"),
                                   tag->Value("DIRECTORY"));
  return Settle(parser_, state, result);
}

int ScriptState::ProcessMAIL(Tag* tag) {
  String to = tag->Value("TO");
  if (!to.empty()) {
    SendMailState* state = new SendMailState(this, tag);
    int result = state->StartSendMail(to, tag->Value("CC"), tag->Value("FROM"), tag->Value("SUBJECT"),
                                      tag->Value("MAILHOST"));
    return Settle(parser_, state, result);
  }
  GetMailState* state = new GetMailState(this, tag);
  int result = state->StartGetMail(tag->Value("MAILHOST"), tag->Value("LOGIN"), tag->Value("PASSWORD"),
                                   tag->Value("DIRECTORY"));
  return Settle(parser_, state, result);
}

SendMailState::SendMailState(ScriptState* parent, Tag* tag)
    : ScriptState(parent, tag), finished_(0), saved_(nullptr), handler_(parser_) {}

int SendMailState::StartSendMail(const String& to, const String& cc, const String& from,
                                 const String& subject, const String& mailhost) {
  // The line end behind the opening tag belongs to the script, not to the
  // message. A lone CR is dropped on the way into the message anyway.
  Buffer* buffer = parser_->buffer();
  int c = buffer->GetNextChar();
  if (c == '\n') {
    parser_->SetLine(parser_->line() + 1);
  } else if (c == '\r') {
    c = buffer->GetNextChar();
    if (c == '\n')
      parser_->SetLine(parser_->line() + 1);
    else if (c != -1)
      buffer->UnGetChar();
  } else if (c != -1) {
    buffer->UnGetChar();
  }
  if (!handler_.StartSendMail(to, cc, from, subject, mailhost)) return RuntimeError(tag_, handler_.error());
  saved_ = parser_->SwitchOutput(handler_.MailOutput());
  return StateHandled;
}

int SendMailState::ProcessTag(Tag* tag) {
  if (tag->id() == tag_->closingid()) {
    finished_ = 1;
    return StateLeave;
  }
  if (tag->id() == TagSnSMTP && tag_->id() == TagSnSMTP) return StateLeave;
  return ScriptState::ProcessTag(tag);
}

int SendMailState::ExitState() {
  if (saved_ != nullptr) {
    parser_->SwitchOutput(saved_);
    saved_ = nullptr;
    handler_.EndSendMail();
  }
  if (finished_) return StateHandled;
  finished_ = 1;
  return SkipBody(parser_, tag_->id());
}

GetMailState::GetMailState(ScriptState* parent, Tag* tag)
    : ScriptState(parent, tag),
      started_(0),
      bodyposition_(parser_->buffer()->CurrentFilePosition()),
      bodyline_(parser_->line()),
      finished_(0),
      pushed_(1),
      handler_(parser_),
      variables_(1) {
  parser_->vars()->PushSystemVars(&variables_);
}

// A state dropped without its exit step must not leave its frame behind.
GetMailState::~GetMailState() { PopVariables(); }

void GetMailState::PopVariables() {
  if (pushed_) parser_->vars()->PopSystemVars();
  pushed_ = 0;
}

int GetMailState::StartGetMail(const String& mailhost, const String& login, const String& password,
                               const String& directory) {
  // The older tag empties the maildrop; SnPOP deletes only what the script asks.
  int deleteafterreading = tag_->id() == TagMAIL;
  if (!handler_.StartGetMail(mailhost, login, password, directory, deleteafterreading))
    return RuntimeError(tag_, handler_.error());
  started_ = 1;
  switch (handler_.GetNextMessage(variables_)) {
    case MailNoMore:
      return StateLeave;
    case MailMessage:
      return StateHandled;
    default:
      return RuntimeError(tag_, handler_.error());
  }
}

int GetMailState::ProcessTag(Tag* tag) {
  if (tag->id() == tag_->closingid()) {
    switch (handler_.GetNextMessage(variables_)) {
      case MailNoMore:
        finished_ = 1;
        return StateLeave;
      case MailMessage:
        parser_->buffer()->Seek(bodyposition_);
        parser_->SetLine(bodyline_);
        return StateHandled;
      default:
        // The closing tag has been read: a non-fatal error goes on behind it.
        finished_ = 1;
        if (RuntimeError(tag_, handler_.error()) == StateFailure) return StateFailure;
        return StateLeave;
    }
  }
  if (tag_->id() == TagSnPOP) {
    if (tag->id() == TagSnPOPSTOP) return StateLeave;
    if (tag->id() == TagSnPOPDELETE) {
      ClearErrorVariable(tag);
      if (!handler_.DeleteCurrentMessage()) return RuntimeError(tag, handler_.error());
      return StateHandled;
    }
  }
  return ScriptState::ProcessTag(tag);
}

int GetMailState::ExitState() {
  if (started_) {
    handler_.EndGetMail();
    started_ = 0;
  }
  int result = StateHandled;
  if (!finished_) {
    finished_ = 1;
    result = SkipBody(parser_, tag_->id());
  }
  PopVariables();
  return result;
}
