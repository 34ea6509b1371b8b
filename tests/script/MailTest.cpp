#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "core/NetworkConnection.h"
#include "core/NetworkManager.h"
#include "script/POP3.h"
#include "script/SMTP.h"
#include "script/SMTPOutput.h"
#include "tests/host/TestHost.h"
#include "tests/host/TestPeer.h"
#include "tests/script/EngineProcess.h"

namespace {

// A peer that keeps every byte it receives until the client closes.
struct Sink {
  std::mutex lock;
  std::string bytes;
  TestPeer peer{[this](int fd, const std::string&) {
                  char block[4096];
                  ssize_t n;
                  while ((n = read(fd, block, sizeof block)) > 0) {
                    std::lock_guard<std::mutex> hold(lock);
                    bytes.append(block, n);
                  }
                },
                1, false};
  std::string received() {
    std::lock_guard<std::mutex> hold(lock);
    return bytes;
  }
};

// A POP3 server that logs each command and answers it with the next of its
// replies, "+OK" once they run out. The reply "stall" sends a message's
// first header line and then nothing for five seconds; "big" sends a
// message of lines of a thousand bytes up to bigsize.
struct POP3Peer {
  explicit POP3Peer(std::vector<std::string> replies, const char* host = "127.0.0.1", int port = 0,
                    long bigsize = 0)
      : peer([this, replies, bigsize](int fd, const std::string&) { Serve(fd, replies, bigsize); }, 1, false,
             host, port) {}

  void Serve(int fd, const std::vector<std::string>& replies, long bigsize) {
    TestPeer::SendAll(fd, "+OK ready\r\n");
    std::string line;
    for (size_t next = 0; TestPeer::ReadLine(fd, line); next++) {
      {
        std::lock_guard<std::mutex> hold(lock);
        commands.push_back(line);
      }
      std::string reply = next < replies.size() ? replies[next] : "+OK";
      if (reply == "stall") {
        TestPeer::SendAll(fd, "+OK\r\nSubject: stalled\r\n");
        sleep(5);
        return;
      }
      if (reply == "big") {
        if (!TestPeer::SendAll(fd, "+OK\r\nSubject: big\r\n\r\n")) return;
        std::string block;
        for (int i = 0; i < 64; i++) block += std::string(998, 'x') + "\r\n";
        for (long sent = 0; sent < bigsize; sent += block.size())
          if (!TestPeer::SendAll(fd, block)) return;
        reply = ".";
      }
      if (!TestPeer::SendAll(fd, reply + "\r\n") || line == "QUIT") return;
    }
  }
  std::vector<std::string> log() {
    std::lock_guard<std::mutex> hold(lock);
    return commands;
  }

  std::mutex lock;
  std::vector<std::string> commands;
  TestPeer peer;
};

std::unique_ptr<NetworkConnection> Open(TestHost& host, int port, const char* address = "127.0.0.1") {
  return std::unique_ptr<NetworkConnection>(host.networkmanager()->Connect(address, port));
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace

// Line ends become CR LF and line-start dots are doubled, also when a line
// starts exactly at a buffer boundary or the text arrives in pieces.
TEST(SMTPOutput, StuffsDotsAndEndsLinesAcrossFlushes) {
  const std::string text = ".first\n..two\r\n.\nlone\rcr\na.b.\n\n.last";
  const std::string wire = ".first\r\n...two\r\n..\r\nlonecr\r\na.b.\r\n\r\n..last";
  for (int size : {1, 2, 3, 5, 64}) {
    for (size_t piece : {1, 3, 100}) {
      Sink sink;
      TestHost host;
      auto connection = Open(host, sink.peer.port());
      ASSERT_NE(connection, nullptr);
      {
        SMTPOutput out(connection.get(), size);
        for (size_t at = 0; at < text.size(); at += piece) out.Write(text.substr(at, piece).c_str(), -1);
        out.Flush();
        EXPECT_FALSE(out.linestart());
      }
      connection.reset();
      // Wait for the peer to see the end of the stream.
      for (int i = 0; i < 100 && sink.received().size() < wire.size(); i++) usleep(10000);
      EXPECT_EQ(sink.received(), wire) << "buffer " << size << ", pieces of " << piece;
    }
  }
}

TEST(SMTP, RepliesByTheirFirstAndFourthCharacters) {
  TestHost host;
  SMTP smtp(&host);
  struct Case {
    const char* line;
    int status;
    const char* error;
  };
  const Case cases[] = {
      {"220-first line", ReplyMore, ""}, {"220 ready", ReplyGood, ""}, {"354 go", ReplyGood, ""},
      {"250", ReplyGood, ""}, {"", ReplyGood, ""}, {"550 no such user", ReplyFailed, "no such user"},
      {"421-busy", ReplyFailed, "busy"}, {"5", ReplyFailed, ""}, {"2500", ReplyMore, ""},
  };
  for (const Case& c : cases) {
    smtp.Error("");
    EXPECT_EQ(smtp.ProcessResponse(c.line), c.status) << c.line;
    EXPECT_STREQ(smtp.error().chars(), c.error) << c.line;
  }
}

TEST(POP3, EOTRestoresDotLines) {
  const std::tuple<const char*, bool, const char*> cases[] = {
      {".", true, ""}, {"..", false, "."}, {"..x", false, ".x"}, {".x", false, ".x"}, {"", false, ""}};
  for (const auto& [line, end, text] : cases) {
    String out("junk");
    EXPECT_EQ(POP3::EOT(line, out), end) << line;
    EXPECT_STREQ(out.chars(), text) << line;
  }
}

// A whole session: the listing, each message into its own file with its
// headers, and the older tag's delete right after each RETR.
TEST(POP3, FetchesEachMessageIntoItsOwnFile) {
  const std::string first = "Received: one\nReceived: two\nsubject: Hi\nSubject:x\n\nSubject: body\n.dot\n";
  const std::string retr1 =
      "+OK\r\nReceived: one\r\nReceived: two\r\nsubject: Hi\r\nSubject:x\r\n\r\nSubject: body\r\n..dot\r\n.";
  for (int deleting : {0, 1}) {
    const std::string list = "+OK\r\n1 70\r\n2 8\r\n.", retr2 = "+OK\r\nFrom: b\r\n.";
    POP3Peer server(deleting ? std::vector<std::string>{"+OK", "+OK", list, retr1, "+OK", retr2}
                             : std::vector<std::string>{"+OK", "+OK", list, retr1, retr2});
    TestHost host;
    auto connection = Open(host, server.peer.port());
    ASSERT_NE(connection, nullptr);
    {
      POP3 pop3(&host, deleting);
      ASSERT_EQ(pop3.Connect(connection.get()), ReplyGood);
      ASSERT_EQ(pop3.Login("user", "secret"), ReplyGood);
      ASSERT_EQ(pop3.BuildMessageList(), ReplyGood);
      POP3Message* message = nullptr;
      ASSERT_EQ(pop3.GetNextMessage(&message, host.directory_.c_str(), "rel"), 1);
      EXPECT_EQ(message->number(), 1);
      EXPECT_STREQ(message->relativePath().chars(), "rel/SORN_POP00000001");
      EXPECT_STREQ(message->headers("RECEIVED").chars(), "one");
      EXPECT_STREQ(message->headers("Subject").chars(), "Hi");
      EXPECT_EQ(ReadFile(message->path().chars()), first);
      ASSERT_EQ(pop3.GetNextMessage(&message, host.directory_.c_str(), "rel"), 1);
      EXPECT_STREQ(message->headers("from").chars(), "b");
      EXPECT_EQ(pop3.GetNextMessage(&message, host.directory_.c_str(), "rel"), 0);
    }
    connection.reset();
    for (const std::string& name : host.Files()) unlink((host.directory_ + "/" + name).c_str());
    std::vector<std::string> expected = {"USER user", "PASS secret", "LIST", "RETR 1"};
    if (deleting) expected.push_back("DELE 1");
    expected.push_back("RETR 2");
    if (deleting) expected.push_back("DELE 2");
    expected.push_back("QUIT");
    EXPECT_EQ(server.log(), expected);
  }
}

TEST(POP3, RefusalsAndAnEmptyMaildrop) {
  POP3Peer server({"+OK", "-ERR invalid login", "+OK\r\n."});
  TestHost host;
  auto connection = Open(host, server.peer.port());
  ASSERT_NE(connection, nullptr);
  {
    POP3 pop3(&host, 0);
    ASSERT_EQ(pop3.Connect(connection.get()), ReplyGood);
    EXPECT_EQ(pop3.Login("user", "wrong"), ReplyFailed);
    EXPECT_STREQ(pop3.error().chars(), "invalid login");
    ASSERT_EQ(pop3.BuildMessageList(), ReplyGood);
    POP3Message* message = nullptr;
    EXPECT_EQ(pop3.GetNextMessage(&message, host.directory_.c_str(), "x"), 0);
    EXPECT_EQ(message, nullptr);
  }
  EXPECT_EQ(server.log(), (std::vector<std::string>{"USER user", "PASS wrong", "LIST", "QUIT"}));
}

// A server that stalls inside a message: each character is waited for
// mailtimeout seconds, and the request's own deadline ends the fetch.
TEST(POP3, StalledMessageEndsAtTheGlobalTimeout) {
  POP3Peer server({"+OK", "+OK", "+OK\r\n1 5\r\n.", "stall"});
  TestHost host;
  host.config_.mailtimeout = 1;
  host.config_.globaltimeout = 2;
  host.ResetGlobalTimeout();
  auto connection = Open(host, server.peer.port());
  ASSERT_NE(connection, nullptr);
  POP3 pop3(&host, 0);
  ASSERT_EQ(pop3.Connect(connection.get()), ReplyGood);
  ASSERT_EQ(pop3.Login("u", "p"), ReplyGood);
  ASSERT_EQ(pop3.BuildMessageList(), ReplyGood);
  POP3Message* message = nullptr;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(pop3.GetNextMessage(&message, host.directory_.c_str(), "x"), ReplyFailed);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_STREQ(pop3.error().chars(), "Timed out waiting for response from host");
  for (const std::string& name : host.Files()) unlink((host.directory_ + "/" + name).c_str());
}

// A message of 1 GB goes to its file as it arrives: the whole engine,
// fetching it with SnPOP, stays under 16 MB at its peak. SnPOP speaks to
// port 110 only, so the server takes that port on a loopback address of
// its own, which needs root.
TEST(POP3, GigabyteMessageGoesToItsFileInBoundedMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's shadow memory is not the engine's";
#endif
  const long kTotal = 1L << 30;
  POP3Peer server({"+OK", "+OK", "+OK\r\n1 " + std::to_string(kTotal) + "\r\n.", "big"}, "127.0.0.3", 110,
                  kTotal);
  if (server.peer.port() < 0) GTEST_SKIP() << "port 110 of 127.0.0.3 cannot be bound (not root, or taken)";
  TestHost host;  // for its temporary directory
  std::string dir = host.directory_;
  mkdir((dir + "/mail").c_str(), 0700);
  std::string conf = "sornroot=" + dir + "\nstdmodedatadir=" + dir + "\nusecookies=0\nglobaltimeout=600\n";
  std::string script =
      "<SnPOP LOGIN=\"user\" PASSWORD=\"secret\" DIRECTORY=\"mail\" MAILHOST=\"127.0.0.3\">"
      "<SnEVAL EXPR=\"{ messagesubject $ ' ' $ messagebody }\"></SnPOP>";
  struct rusage usage = {};
  std::string page = RunEngineProcess(dir, conf, script, &usage);
  struct stat saved = {};
  int found = stat((dir + "/mail/SORN_POP00000001").c_str(), &saved);
  unlink((dir + "/mail/SORN_POP00000001").c_str());
  rmdir((dir + "/mail").c_str());
  EXPECT_EQ(page, "Content-type: text/html\r\n\r\nbig mail/SORN_POP00000001");
  ASSERT_EQ(found, 0);
  // Headers and the blank line, then every line with an LF instead of CR LF.
  const long lines = (kTotal + 64000 - 1) / 64000 * 64;
  EXPECT_EQ(saved.st_size, (long)strlen("Subject: big\n\n") + lines * 999);
  EXPECT_LT(usage.ru_maxrss, 16 * 1024) << "peak resident set in KB";
  EXPECT_EQ(server.log(), (std::vector<std::string>{"USER user", "PASS secret", "LIST", "RETR 1", "QUIT"}));
}
