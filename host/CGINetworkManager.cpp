#include "host/CGINetworkManager.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

#include <cstring>

#include "host/CGINetworkConnection.h"

int CGINetworkManager::GetHostAddress(const String& host, String& address) {
  if (strcmp(host.chars(), "localhost") == 0) {
    address = "127.0.0.1";
    return 0;
  }
  // A name with a NUL inside would be looked up cut short.
  if ((int)strlen(host.chars()) != host.length()) {
    Error("Error looking up '" + host + "'");
    return -1;
  }
  struct hostent* entry = gethostbyname(host.chars());
  if (entry == nullptr || entry->h_addrtype != AF_INET || entry->h_addr_list == nullptr ||
      entry->h_addr_list[0] == nullptr) {
    Error("Error looking up '" + host + "'");
    return -1;
  }
  struct in_addr first;
  memcpy(&first, entry->h_addr_list[0], sizeof first);
  address = inet_ntoa(first);
  return 0;
}

NetworkConnection* CGINetworkManager::Connect(const String& host, const int port) {
  CGINetworkConnection* connection = new CGINetworkConnection(sorn_);
  String address = host;
  if (!IsIPAddress(host) && GetHostAddress(host, address) != 0) {
    delete connection;
    return nullptr;
  }
  if (!connection->Connect(address, port)) {
    Error(connection->error());
    delete connection;
    return nullptr;
  }
  return connection;
}
