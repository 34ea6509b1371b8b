#include "host/CGINetworkConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "core/Sorn.h"

CGINetworkConnection::~CGINetworkConnection() {
  if (socket_ >= 0) close(socket_);
}

int CGINetworkConnection::Read(char* buffer, int length, int) {
  if (socket_ < 0 || length <= 0) return -1;
  if (start_ < end_) {
    int n = end_ - start_ < length ? end_ - start_ : length;
    memcpy(buffer, pending_ + start_, n);
    start_ += n;
    return n;
  }
  return (int)read(socket_, buffer, (size_t)length);
}

int CGINetworkConnection::ReadLine(String& line, int timeout) {
  line = "";
  if (socket_ < 0) return -1;
  // select cannot watch a descriptor past FD_SETSIZE; such a socket is
  // treated as a failed stream rather than overrunning the set.
  if (socket_ >= FD_SETSIZE) return -1;
  for (;;) {
    if (start_ == end_) {
      fd_set readable;
      FD_ZERO(&readable);
      FD_SET(socket_, &readable);
      struct timeval wait;
      wait.tv_sec = timeout > 0 ? timeout : 0;
      wait.tv_usec = 0;
      int ready = select(socket_ + 1, &readable, nullptr, nullptr, &wait);
      if (ready <= 0) return ready;
      ssize_t n = read(socket_, pending_, kPendingSize);
      if (n <= 0) return -1;
      start_ = 0;
      end_ = (int)n;
    }
    char c = pending_[start_++];
    line.cat(c);
    if (c == '\n') return line.length();
  }
}

int CGINetworkConnection::Write(const char* data, int length) {
  if (socket_ < 0) return -1;
  if (length < 0) length = (int)strlen(data);
  // A peer that has gone away makes this write fail, not raise SIGPIPE:
  // that signal means the web server has gone, and would end the script.
  return (int)send(socket_, data, (size_t)length, MSG_NOSIGNAL);
}

int CGINetworkConnection::Connect(const String& address, int port) {
  if (socket_ >= 0) {
    close(socket_);
    socket_ = -1;
  }
  start_ = end_ = 0;
  socket_ = socket(AF_INET, SOCK_STREAM, 0);
  if (socket_ < 0) return 0;
  struct sockaddr_in peer;
  memset(&peer, 0, sizeof peer);
  peer.sin_family = AF_INET;
  peer.sin_addr.s_addr = inet_addr(address.chars());
  peer.sin_port = htons((unsigned short)port);
  if (connect(socket_, (struct sockaddr*)&peer, sizeof peer) != 0) {
    Error("(" + address + ":" + Decimal(port) + "): " + sorn_->lasterror());
    close(socket_);
    socket_ = -1;
    return 0;
  }
  return 1;
}
