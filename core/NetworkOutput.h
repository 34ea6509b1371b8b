// NetworkOutput: an Output whose buffer is written to a connection, so a
// script's output can be sent to a peer.
#ifndef SORN_CORE_NETWORKOUTPUT_H
#define SORN_CORE_NETWORKOUTPUT_H

#include "core/Output.h"

class NetworkConnection;

class NetworkOutput : public Output {
 public:
  // Keeps the connection without owning it.
  NetworkOutput(NetworkConnection* connection, int size) : Output(size), connection_(connection) {}
  ~NetworkOutput() override;
  // The connection's write result.
  int DoWrite(const char* data, int count) override;

 private:
  NetworkConnection* connection_;
};

#endif
