// INetProtocol: the command and reply skeleton of the mail clients. A
// command is one line; the reply is read line by line until the protocol
// says it is complete. SMTP and POP3 derive from it.
#ifndef SORN_SCRIPT_INETPROTOCOL_H
#define SORN_SCRIPT_INETPROTOCOL_H

#include "core/String.h"

class NetworkConnection;
class Sorn;

// Reply status of ProcessResponse and of every exchange.
enum ReplyStatus { ReplyGood = 0, ReplyMore = 1, ReplyFailed = 2 };

class INetProtocol {
 public:
  // timeout: seconds to wait for each character of a reply.
  INetProtocol(Sorn* sorn, const int timeout);
  virtual ~INetProtocol() {}
  INetProtocol(const INetProtocol&) = delete;
  INetProtocol& operator=(const INetProtocol&) = delete;

  // Drops a connection already held (through the derived Disconnect), keeps
  // this one (not owned) and reads the greeting. The greeting's status.
  virtual int Connect(NetworkConnection* connection);
  // Forgets the connection; 0.
  virtual int Disconnect();
  // Writes command and CR LF in one write, then reads the reply. 2 with
  // "Error sending data to server" when the write fails.
  virtual int SendCommand(const String& command);
  // Reads lines until the reply is complete. A line is cut before its
  // first CR. 2 with "Timed out waiting for response from host" when the
  // stream ends or fails, or once the request's time is up.
  virtual int ReadResponses();
  // The status the line gives: 0, 1 (more lines follow) or 2.
  virtual int ProcessResponse(const String& line) = 0;
  virtual void Error(const String& text) { error_ = text; }
  const String& error() const { return error_; }
  NetworkConnection* connection() const { return connection_; }

 protected:
  Sorn* sorn_;
  int timeout_;
  NetworkConnection* connection_;
  String error_;
};

#endif
