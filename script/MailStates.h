// The states of the mail tags: SendMailState sends the output of its body
// as a message (SnSMTP, or MAIL with TO); GetMailState runs its body once
// per message of a maildrop (SnPOP, or MAIL without TO).
#ifndef SORN_SCRIPT_MAILSTATES_H
#define SORN_SCRIPT_MAILSTATES_H

#include "script/MailHandler.h"
#include "script/ScriptState.h"
#include "script/Variable.h"

class Output;

class SendMailState : public ScriptState {
 public:
  SendMailState(ScriptState* parent, Tag* tag);
  // Opens the message and switches the parser's output into it: 3, or
  // what RuntimeError gave.
  int StartSendMail(const String& to, const String& cc, const String& from, const String& subject,
                    const String& mailhost);
  int ProcessTag(Tag* tag) override;
  // Gives the output back, ends the message, and skips what is left of the
  // body; 0 when the closing tag is missing.
  int ExitState() override;

 private:
  int finished_;
  Output* saved_;
  MailHandler handler_;
};

class GetMailState : public ScriptState {
 public:
  // Shows the message variables as a system frame until ExitState or the
  // end of the state.
  GetMailState(ScriptState* parent, Tag* tag);
  ~GetMailState() override;
  // Logs in and fetches the first message: 3 to run the body, 2 for an
  // empty maildrop, else what RuntimeError gave.
  int StartGetMail(const String& mailhost, const String& login, const String& password,
                   const String& directory);
  int ProcessTag(Tag* tag) override;
  // Ends the session (QUIT) and skips what is left of the body; 0 when the
  // closing tag is missing.
  int ExitState() override;

 private:
  void PopVariables();

  int started_;
  long bodyposition_;
  int bodyline_;
  int finished_;
  int pushed_;
  MailHandler handler_;
  VariableTree variables_;
};

#endif
