// NetworkManager: name look-up, connections and the plain HTTP request of
// the web call. The Unix implementation is CGINetworkManager (host/), which
// the host hands out through Sorn::networkmanager().
#ifndef SORN_CORE_NETWORKMANAGER_H
#define SORN_CORE_NETWORKMANAGER_H

#include "core/String.h"

class NetworkConnection;
class Sorn;

class NetworkManager {
 public:
  explicit NetworkManager(Sorn* sorn) : sorn_(sorn) {}
  virtual ~NetworkManager() {}
  NetworkManager(const NetworkManager&) = delete;
  NetworkManager& operator=(const NetworkManager&) = delete;

  // True when every character is a digit or '.', the empty text included:
  // "1.2" passes, and inet_addr has the last word.
  virtual int IsIPAddress(const String& host);
  // 0 with address set (dotted quad), or -1 with error() set.
  virtual int GetHostAddress(const String& host, String& address) = 0;
  // A new connection owned by the caller, or null with error() set.
  virtual NetworkConnection* Connect(const String& host, const int port) = 0;
  // Sends an HTTP/1.0 request and returns the open connection (the
  // caller's), or null with error() set by Connect. With an empty body and
  // a positive length the caller writes the body itself.
  virtual NetworkConnection* OpenURL(const String& method, const String& url, const String& body,
                                     const String& contentType, int length);
  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) {
    if (text.chars() != nullptr) error_ = text;
  }

 protected:
  Sorn* sorn_;
  String error_;
};

#endif
