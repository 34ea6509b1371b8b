// NetworkConnection: one open TCP stream. The protocol code reads and
// writes through it and never sees a socket; CGINetworkConnection (host/)
// is the Unix stream.
#ifndef SORN_CORE_NETWORKCONNECTION_H
#define SORN_CORE_NETWORKCONNECTION_H

#include "core/String.h"

class Sorn;

class NetworkConnection {
 public:
  explicit NetworkConnection(Sorn* sorn) : sorn_(sorn) {}
  virtual ~NetworkConnection() {}
  NetworkConnection(const NetworkConnection&) = delete;
  NetworkConnection& operator=(const NetworkConnection&) = delete;

  // Up to length bytes: the count, 0 at the end of the stream, negative on
  // failure. The time-out is not applied to a block read.
  virtual int Read(char* buffer, int length, int timeout) = 0;
  // One line, its CR and LF kept, each character waited for up to timeout
  // seconds. The length of the line once an LF arrived; 0 on a time-out
  // (what arrived stays in line); -1 when the stream ended or failed.
  virtual int ReadLine(String& line, int timeout) = 0;
  // One write; what the system took, or negative. A short write is not
  // retried and neither kind of failure is reported here.
  virtual int Write(const char* data, int length) = 0;
  virtual int Write(const String& text) { return Write(text.chars(), text.length()); }
  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) {
    if (text.chars() != nullptr) error_ = text;
  }
  // 1 once connected to address (dotted quad) and port; 0 with error()
  // set, or with nothing set when no socket could be made.
  virtual int Connect(const String& address, int port) = 0;

 protected:
  Sorn* sorn_;
  String error_;
};

#endif
