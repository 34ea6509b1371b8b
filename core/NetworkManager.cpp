#include "core/NetworkManager.h"

#include <climits>
#include <cstdlib>

#include "core/NetworkConnection.h"

namespace {

// atoi without its undefined overflow: the number is clamped to an int.
int ToInt(const String& text) {
  long value = strtol(text.chars(), nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return (int)value;
}

}  // namespace

int NetworkManager::IsIPAddress(const String& host) {
  for (int i = 0; i < host.length(); i++)
    if (!((host[i] >= '0' && host[i] <= '9') || host[i] == '.')) return 0;
  return 1;
}

NetworkConnection* NetworkManager::OpenURL(const String& method, const String& url, const String& body,
                                           const String& contentType, int length) {
  // The scheme is not looked at: everything before "//" is dropped, so an
  // https URL is spoken to in plain HTTP on port 80 like any other.
  String rest = url.contains("//") ? url.after("//") : url;
  String host = rest;
  String path;
  int slash = rest.index("/");
  if (slash >= 0) {
    host = rest.before(slash);
    path = rest.after(slash);
  }
  int port = 80;
  int colon = host.index(":");
  if (colon >= 0) {
    port = ToInt(host.after(colon));
    host = host.before(colon);
  }

  NetworkConnection* connection = Connect(host, port);
  if (connection == nullptr) return nullptr;

  int n = body.empty() ? length : body.length();
  connection->Write(method + " /" + path + " HTTP/1.0\r\n");
  connection->Write("Host: " + host + "\r\n");
  if (n > 0) {
    connection->Write("Content-Type: " + contentType + "\r\n");
    connection->Write("Content-Length: " + Decimal(n) + "\r\n");
  }
  connection->Write(String("\r\n"));
  if (!body.empty()) connection->Write(body);
  return connection;
}
