// CGINetworkConnection: a TCP stream socket. Every socket call of the
// engine lives here and in CGINetworkManager.
#ifndef SORN_HOST_CGINETWORKCONNECTION_H
#define SORN_HOST_CGINETWORKCONNECTION_H

#include "core/NetworkConnection.h"

class CGINetworkConnection : public NetworkConnection {
 public:
  explicit CGINetworkConnection(Sorn* sorn) : NetworkConnection(sorn), socket_(-1), start_(0), end_(0) {}
  ~CGINetworkConnection() override;

  // Bytes that ReadLine took from the socket beyond its line come first.
  int Read(char* buffer, int length, int timeout) override;
  // Waits for each character as if it were read alone, but takes what
  // has arrived in one system call and keeps the rest for the next read.
  int ReadLine(String& line, int timeout) override;
  int Write(const char* data, int length) override;
  int Write(const String& text) override { return Write(text.chars(), text.length()); }
  // connect(2) blocks for as long as the system lets it: only the web
  // server ending the process bounds it.
  int Connect(const String& address, int port) override;

 private:
  enum { kPendingSize = 4096 };
  int socket_;
  char pending_[kPendingSize];
  int start_;
  int end_;
};

#endif
