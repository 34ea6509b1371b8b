// POP3: the receiving mail client. Logs in, lists the maildrop, fetches
// each message into a file of its own and deletes on request. Multi-line
// replies (LIST, RETR) are followed by a small state machine.
#ifndef SORN_SCRIPT_POP3_H
#define SORN_SCRIPT_POP3_H

#include "core/List.h"
#include "script/INetProtocol.h"
#include "script/POP3Message.h"

// What the lines of the reply being read are.
enum POP3ReplyState { POP3SingleLine = 0, POP3ListLines = 1, POP3MessageLines = 2 };

class POP3 : public INetProtocol {
 public:
  // With deleteAfterReading each message is deleted right after its RETR.
  POP3(Sorn* sorn, int deleteAfterReading);
  // Ends a session still held with QUIT.
  ~POP3() override;

  // QUIT; the connection is forgotten unless the server refused.
  int Disconnect() override;
  int ProcessResponse(const String& line) override;

  // USER, then PASS. The status.
  virtual int Login(const String& user, const String& password);
  // LIST; each line of the listing becomes a message. The status.
  virtual int BuildMessageList();
  // Fetches the next message of the list into a new file "SORN_POP..." of
  // directory: 1 with *message set, 0 when the list is used up, 2 on failure.
  virtual int GetNextMessage(POP3Message** message, const String& directory, const String& relativeDirectory);
  // DELE; the server applies it at QUIT. The status.
  virtual int DeleteMessage(POP3Message* message);

  // A line of a multi-line reply: "." alone ends it (true); a leading ".."
  // loses one dot. out is the line as it was meant.
  static bool EOT(const String& line, String& out);

 private:
  int deleteafterreading_;
  int state_;
  int nextstate_;
  List<POP3Message> messages_;
};

#endif
