// CGINetworkManager: name look-up and TCP connections on Unix.
#ifndef SORN_HOST_CGINETWORKMANAGER_H
#define SORN_HOST_CGINETWORKMANAGER_H

#include "core/NetworkManager.h"

class CGINetworkManager : public NetworkManager {
 public:
  explicit CGINetworkManager(Sorn* sorn) : NetworkManager(sorn) {}

  // "localhost" is 127.0.0.1 without a look-up; otherwise the first address
  // of gethostbyname. -1 with "Error looking up '{host}'" on failure.
  int GetHostAddress(const String& host, String& address) override;
  // Null with the look-up's or the connection's error on failure.
  NetworkConnection* Connect(const String& host, const int port) override;
};

#endif
