#include "script/INetProtocol.h"

#include "core/NetworkConnection.h"
#include "core/Sorn.h"

INetProtocol::INetProtocol(Sorn* sorn, const int timeout)
    : sorn_(sorn), timeout_(timeout), connection_(nullptr) {}

int INetProtocol::Connect(NetworkConnection* connection) {
  if (connection_ != nullptr) Disconnect();
  connection_ = connection;
  return ReadResponses();
}

int INetProtocol::Disconnect() {
  connection_ = nullptr;
  return 0;
}

int INetProtocol::SendCommand(const String& command) {
  String line = command + "\r\n";
  if (connection_ == nullptr || connection_->Write(line) < 1) {
    Error("Error sending data to server");
    INetProtocol::Disconnect();
    return ReplyFailed;
  }
  return ReadResponses();
}

int INetProtocol::ReadResponses() {
  int status = ReplyMore;
  String line;
  while (status == ReplyMore) {
    // A time-out hands an empty or partial line on, so a peer that stalls
    // inside a multi-line reply would be waited for without end: the
    // request's own deadline ends the wait.
    if (connection_ == nullptr || sorn_->timedout() || connection_->ReadLine(line, timeout_) < 0) {
      Error("Timed out waiting for response from host");
      INetProtocol::Disconnect();
      return ReplyFailed;
    }
    int cr = line.index("\r");
    if (cr >= 0) line.truncate(cr);
    status = ProcessResponse(line);
  }
  return status;
}
