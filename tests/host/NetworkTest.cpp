#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "core/NetworkBuffer.h"
#include "core/NetworkConnection.h"
#include "host/CGINetworkManager.h"
#include "tests/host/TestHost.h"
#include "tests/host/TestPeer.h"

namespace {

// A connection to the peer with an empty request head sent, so that it answers.
std::unique_ptr<NetworkConnection> Open(TestHost& host, const TestPeer& peer, bool head = true) {
  std::unique_ptr<NetworkConnection> c(host.networkmanager()->Connect("127.0.0.1", peer.port()));
  if (c && head) c->Write(String("\r\n\r\n"));
  return c;
}

}  // namespace

TEST(NetworkManager, HostNamesAndTheirFailures) {
  TestHost host;
  NetworkManager* manager = host.networkmanager();
  // Only the characters count as an address.
  EXPECT_TRUE(manager->IsIPAddress("") && manager->IsIPAddress("1.2") && manager->IsIPAddress("127.0.0.1"));
  EXPECT_FALSE(manager->IsIPAddress("localhost") || manager->IsIPAddress("10.0.0.1 "));
  String address;
  EXPECT_EQ(manager->GetHostAddress("localhost", address), 0);
  EXPECT_STREQ(address.chars(), "127.0.0.1");
  EXPECT_EQ(manager->GetHostAddress(String("local\0host", 10), address), -1);
  EXPECT_EQ(manager->GetHostAddress("no-such-host.invalid", address), -1);
  EXPECT_STREQ(manager->error().chars(), "Error looking up 'no-such-host.invalid'");
  EXPECT_EQ(manager->Connect("no-such-host.invalid", 80), nullptr);

  int port = TestPeer::FreePort();
  EXPECT_EQ(manager->Connect("127.0.0.1", port), nullptr);
  EXPECT_EQ(std::string(manager->error().chars()),
            "(127.0.0.1:" + std::to_string(port) + "): Connection refused");
  // An empty host passes as an address and fails at connect.
  EXPECT_EQ(manager->Connect("", port), nullptr);
}

// The request head, byte for byte, for the forms of URL and body.
TEST(NetworkManager, OpenURLWritesTheRequestHead) {
  const struct {
    const char *method, *path, *body, *type;
    int length;
    std::string expected;
  } cases[] = {
      {"GET", "", "", "", -1, "GET / HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n"},
      {"HEAD", "/a/b?c=d", "", "", -1, "HEAD /a/b?c=d HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n"},
      {"POST", "/f", "x=1", "text/plain", -1,
       "POST /f HTTP/1.0\r\nHost: 127.0.0.1\r\nContent-Type: text/plain\r\nContent-Length: 3\r\n\r\nx=1"},
      // An empty body with a length: the head announces it, the caller sends it.
      {"POST", "/u", "", "multipart/x", 5,
       "POST /u HTTP/1.0\r\nHost: 127.0.0.1\r\nContent-Type: multipart/x\r\nContent-Length: 5\r\n\r\n"},
  };
  for (const auto& c : cases) {
    TestPeer peer(TestPeer::Reply("HTTP/1.0 200 OK\r\n\r\n"));
    TestHost host;
    std::string url = "https://127.0.0.1:" + std::to_string(peer.port()) + c.path;
    NetworkConnection* connection =
        host.networkmanager()->OpenURL(c.method, url.c_str(), c.body, c.type, c.length);
    ASSERT_NE(connection, nullptr) << url;
    if (c.length > 0) connection->Write("12345", 5);
    String line;
    EXPECT_EQ(connection->ReadLine(line, 5), 17);
    delete connection;
    ASSERT_EQ(peer.requests().size(), 1u);
    EXPECT_EQ(peer.requests()[0], c.expected + (c.length > 0 ? "12345" : "")) << url;
  }
}

TEST(NetworkConnection, ReadLineKeepsLineEndsReportsTheEndAndTimesOutPerCharacter) {
  TestPeer peer(TestPeer::Reply("ab\r\n\ncd"));
  TestHost host;
  auto connection = Open(host, peer);
  ASSERT_NE(connection, nullptr);
  String line;
  EXPECT_EQ(connection->ReadLine(line, 5), 4);
  EXPECT_STREQ(line.chars(), "ab\r\n");
  EXPECT_EQ(connection->ReadLine(line, 5), 1);
  EXPECT_STREQ(line.chars(), "\n");
  // The peer closes after a partial line: -1, the part kept.
  EXPECT_EQ(connection->ReadLine(line, 5), -1);
  EXPECT_STREQ(line.chars(), "cd");

  // The time-out counts per character.
  TestPeer slow([](int fd, const std::string&) {
    TestPeer::SendAll(fd, "par");
    usleep(1500 * 1000);
    TestPeer::SendAll(fd, "t\n");
  });
  connection = Open(host, slow);
  ASSERT_NE(connection, nullptr);
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(connection->ReadLine(line, 1), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1400));
  EXPECT_STREQ(line.chars(), "par");
  EXPECT_EQ(connection->ReadLine(line, 3), 2);
  EXPECT_STREQ(line.chars(), "t\n");
}

// Small blocks force refills between characters; bytes are signed, and
// 0xFF is indistinguishable from the end.
TEST(NetworkBuffer, DeliversSignedBytesAcrossRefillsWithPushBack) {
  for (int size : {1, 2, 3, 8192}) {
    TestPeer peer(TestPeer::Reply(std::string("abc\x80", 4) + "d\xff" + "e"));
    TestHost host;
    auto connection = Open(host, peer);
    ASSERT_NE(connection, nullptr);
    NetworkBuffer buffer(connection.get(), 5, size);
    // Push-backs before each read: one per character delivered, so two in
    // a row give the same one twice.
    std::string got;
    for (int unget : {0, 1, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0}) {
      while (unget-- > 0) buffer.UnGetChar();
      got += std::to_string(buffer.GetNextChar()) + " ";
    }
    EXPECT_EQ(got, "97 97 98 98 98 99 -128 100 -1 101 -1 -1 ") << size;
    EXPECT_EQ(buffer.offset(), 7);
  }
}

// Writing to a peer that has closed fails quietly: no SIGPIPE, which the
// host would take for the web server going away and end the script.
TEST(NetworkConnection, WriteToAClosedPeerRaisesNoSignal) {
  TestPeer peer([](int, const std::string&) {}, 1, false);
  TestHost host;
  auto connection = Open(host, peer, false);
  ASSERT_NE(connection, nullptr);
  String line;
  EXPECT_EQ(connection->ReadLine(line, 5), -1);
  std::string block(65536, 'x');
  int result = 0;
  for (int i = 0; i < 64 && result >= 0; i++) result = connection->Write(block.data(), (int)block.size());
  EXPECT_LT(result, 0);
  EXPECT_EQ(host.timedout(), 0);
}
