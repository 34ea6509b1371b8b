// A TCP peer on a loopback address for the network tests: it accepts
// connections on a port of its own, reads each HTTP request (the head, then
// as many body bytes as its Content-Length says), keeps it, and hands the
// socket to a serving function that writes the reply as slowly, endlessly
// or brokenly as the test wants. A peer of a protocol in which the server
// speaks first (http false) hands the socket over at once. The thread is
// joined when the peer goes.
#ifndef SORN_TESTS_HOST_TESTPEER_H
#define SORN_TESTS_HOST_TESTPEER_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class TestPeer {
 public:
  typedef std::function<void(int fd, const std::string& request)> Serve;

  // port 0 takes a free one; port() is -1 when the address cannot be bound.
  explicit TestPeer(Serve serve, int connections = 1, bool http = true, const char* host = "127.0.0.1",
                    int port = 0)
      : serve_(std::move(serve)) {
    listener_ = socket(AF_INET, SOCK_STREAM, 0);
    int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    address.sin_port = htons(port);
    if (bind(listener_, (struct sockaddr*)&address, sizeof address) != 0 || listen(listener_, 8) != 0) {
      port_ = -1;
      connections = 0;
    } else {
      socklen_t size = sizeof address;
      getsockname(listener_, (struct sockaddr*)&address, &size);
      port_ = ntohs(address.sin_port);
    }
    thread_ = std::thread([this, connections, http] {
      for (int i = 0; i < connections; i++) {
        int fd = accept(listener_, nullptr, nullptr);
        if (fd < 0) return;
        std::string request = http ? ReadRequest(fd) : std::string();
        {
          std::lock_guard<std::mutex> hold(lock_);
          requests_.push_back(request);
        }
        serve_(fd, request);
        close(fd);
      }
    });
  }
  ~TestPeer() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  TestPeer(const TestPeer&) = delete;
  TestPeer& operator=(const TestPeer&) = delete;

  int port() const { return port_; }
  std::string url(const std::string& path = "/") const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }
  std::vector<std::string> requests() {
    std::lock_guard<std::mutex> hold(lock_);
    return requests_;
  }

  // A serving function that sends text and closes.
  static Serve Reply(std::string text) {
    return [text](int fd, const std::string&) { SendAll(fd, text); };
  }
  // One line from the socket, its line end removed; false at the end.
  static bool ReadLine(int fd, std::string& line) {
    line.clear();
    char c;
    while (read(fd, &c, 1) == 1) {
      if (c == '\n') {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return true;
      }
      line += c;
    }
    return false;
  }
  static bool SendAll(int fd, const std::string& text) {
    for (size_t at = 0; at < text.size();) {
      ssize_t n = send(fd, text.data() + at, text.size() - at, MSG_NOSIGNAL);
      if (n <= 0) return false;
      at += n;
    }
    return true;
  }
  // A port on which nothing listens (bound, then released).
  static int FreePort() {
    int s = socket(AF_INET, SOCK_STREAM, 0);
    struct sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(s, (struct sockaddr*)&address, sizeof address);
    socklen_t size = sizeof address;
    getsockname(s, (struct sockaddr*)&address, &size);
    close(s);
    return ntohs(address.sin_port);
  }

 private:
  static std::string ReadRequest(int fd) {
    std::string request;
    char block[4096];
    size_t end;
    while ((end = request.find("\r\n\r\n")) == std::string::npos) {
      ssize_t n = read(fd, block, sizeof block);
      if (n <= 0) return request;
      request.append(block, n);
    }
    size_t length = 0;
    size_t at = request.find("Content-Length: ");
    if (at != std::string::npos && at < end) length = strtoul(request.c_str() + at + 16, nullptr, 10);
    while (request.size() < end + 4 + length) {
      ssize_t n = read(fd, block, sizeof block);
      if (n <= 0) break;
      request.append(block, n);
    }
    return request;
  }

  Serve serve_;
  int listener_;
  int port_;
  std::thread thread_;
  std::mutex lock_;
  std::vector<std::string> requests_;
};

#endif
