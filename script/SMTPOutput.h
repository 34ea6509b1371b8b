// SMTPOutput: the Output that carries a script's text into the data section
// of a message. Every line end goes out as CR LF, and a '.' at the start of
// a line is doubled, so no body line can pass for the end marker; the
// line-start state lives across flushes.
#ifndef SORN_SCRIPT_SMTPOUTPUT_H
#define SORN_SCRIPT_SMTPOUTPUT_H

#include "core/Output.h"

class NetworkConnection;

class SMTPOutput : public Output {
 public:
  // Keeps the connection without owning it.
  SMTPOutput(NetworkConnection* connection, int size)
      : Output(size), linestart_(0), connection_(connection) {}
  ~SMTPOutput() override;

  // Buffers the text with each LF turned into CR LF and each CR dropped
  // (length -1: strlen). Returns the length given.
  int Write(const char* data, int length = -1) override;
  // Sends the buffer, dots stuffed: the bytes sent, or the first negative
  // write result.
  int DoWrite(const char* data, int count) override;
  // The last byte sent was an LF.
  int linestart() const { return linestart_; }

 private:
  int linestart_;
  NetworkConnection* connection_;
};

#endif
