// MailHandler: what the mail tags use of SMTP and POP3. It owns the
// connection and the client of one tag, and turns the clients' failures
// into the messages a script sees.
#ifndef SORN_SCRIPT_MAILHANDLER_H
#define SORN_SCRIPT_MAILHANDLER_H

#include "core/String.h"

class NetworkConnection;
class Output;
class POP3;
class POP3Message;
class ScriptParser;
class SMTP;
class VariableTree;

// Results of GetNextMessage.
enum MailNext { MailFailed = 0, MailMessage = 2, MailNoMore = 3 };

class MailHandler {
 public:
  explicit MailHandler(ScriptParser* parser);
  ~MailHandler();
  MailHandler(const MailHandler&) = delete;
  MailHandler& operator=(const MailHandler&) = delete;

  // Connects to port 25 of mailhost, names sender and recipients, opens the
  // data and writes the header lines (no empty line after them). 1, or 0
  // with error() set.
  int StartSendMail(const String& to, const String& cc, const String& from, const String& subject,
                    const String& mailhost);
  // Where the text of the message goes until EndSendMail.
  Output* MailOutput();
  // Ends the data and the session (QUIT). 1.
  int EndSendMail();

  // Connects to port 110 of mailhost, logs in and lists the maildrop;
  // messages will be saved in directory (inside the data directory). 1,
  // or 0 with error() set (empty when the greeting failed).
  int StartGetMail(const String& mailhost, const String& login, const String& password,
                   const String& directory, int deleteAfterReading);
  // Fetches the next message and sets its variables in tree: 2 for a
  // message, 3 when there are no more, 0 with error() set.
  int GetNextMessage(VariableTree& tree);
  // DELE of the message last fetched. 1, or 0 with error() set.
  int DeleteCurrentMessage();
  // Ends the session (QUIT, where the server applies deletions).
  void EndGetMail();

  const String& error() const { return error_; }

 private:
  // RCPT TO for each piece of a comma list. 1, or 0 with error() set.
  int SendRecipients(const String& list);
  void SendHeader(const String& to, const String& cc, const String& from, const String& subject);
  void Close();

  ScriptParser* parser_;
  NetworkConnection* connection_;
  POP3* pop3_;
  SMTP* smtp_;
  POP3Message* current_;
  String directory_;
  String relativeDirectory_;
  String error_;
};

#endif
