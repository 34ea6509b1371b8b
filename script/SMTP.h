// SMTP: the sending mail client. One session: greeting, HELO, MAIL FROM,
// RCPT TO for each recipient, DATA with the text written to its Output,
// the end marker, QUIT.
#ifndef SORN_SCRIPT_SMTP_H
#define SORN_SCRIPT_SMTP_H

#include "script/INetProtocol.h"

class Output;
class SMTPOutput;

class SMTP : public INetProtocol {
 public:
  explicit SMTP(Sorn* sorn);
  // Ends a session still held with QUIT.
  ~SMTP() override;

  // Reads the greeting and sends HELO with the host's name. 0, or 2 with
  // the error (and a hint when the host has no name).
  int Connect(NetworkConnection* connection) override;
  // QUIT; the connection is forgotten when the server answers well.
  int Disconnect() override;
  // A 4xx or 5xx line fails with the text behind the code; a line whose
  // fourth character is not a blank asks for more; anything else is good.
  int ProcessResponse(const String& line) override;

  // "MAIL FROM: {address}", the address as given. 0 or 2.
  virtual int SendFrom(const String& address);
  // "RCPT TO: {address}". 0 or 2.
  virtual int AddRecipient(const String& address);
  // Makes a fresh Output for the data and sends DATA. 0 or 2.
  virtual int StartData();
  // Flushes the data and sends the end marker on a line of its own. 0 or 2.
  virtual int EndData();

  // The data section's Output while a message is open, else null.
  Output* output();

 private:
  SMTPOutput* output_;
};

#endif
