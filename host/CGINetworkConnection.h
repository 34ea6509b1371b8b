// CGINetworkConnection: a TCP stream socket. Every socket call of the
// engine lives here and in CGINetworkManager.
#ifndef SORN_HOST_CGINETWORKCONNECTION_H
#define SORN_HOST_CGINETWORKCONNECTION_H

#include "core/NetworkConnection.h"

class CGINetworkConnection : public NetworkConnection {
 public:
  explicit CGINetworkConnection(Sorn* sorn) : NetworkConnection(sorn), socket_(-1) {}
  ~CGINetworkConnection() override;

  int Read(char* buffer, int length, int timeout) override;
  int ReadLine(String& line, int timeout) override;
  int Write(const char* data, int length) override;
  int Write(const String& text) override { return Write(text.chars(), text.length()); }
  // connect(2) blocks for as long as the system lets it: only the web
  // server ending the process bounds it.
  int Connect(const String& address, int port) override;

 private:
  int socket_;
};

#endif
