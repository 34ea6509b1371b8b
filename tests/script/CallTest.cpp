#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/host/TestPeer.h"
#include "tests/script/EngineProcess.h"
#include "tests/script/RunScript.h"

namespace {

const char kShow[] = "<SnEVAL EXPR=\"{ '[' $ callobjecttype $ ':' $ callvalue $ ']' }\">";

// Behind the loop, SnCALL_Error shows what a non-fatal policy let through.
std::string Walk(TestHost& host, const TestPeer& peer, const std::string& tag = "SnCALL",
                 const std::string& before = "") {
  return RunScript(host, before + "<" + tag + " ACTION=\"" + peer.url("/x") + "\" METHOD=\"GET\">" + kShow +
                             "</" + tag + ">after<SnEVAL EXPR=\"{ SnCALL_Error }\">");
}

}  // namespace

// Peers that break the reply in every place the reader can be: each ends
// the walk with the reader's message (fatal by default), or quietly where
// the data may simply end. Under a non-fatal policy, a failure after the
// first element leaves the loop, as its closing tag has been read, and the
// script goes on behind it with the message in SnCALL_Error.
TEST(Call, DamagedRepliesEndTheWalkWithTheirMessage) {
  struct Case {
    std::string reply;
    std::string page;
    bool nonfatal = false;
  };
  const std::string ok = "HTTP/1.0 200 OK\r\n\r\n", error = "t.sn: Line 1: SnCALL: Runtime Error: ",
                    eof = error + "Unexpected EOF in tag\r\n";
  const Case cases[] = {
      {ok + "text<a hr", "[text:text]" + eof}, {ok + "<", eof}, {ok + "< ", eof}, {ok + "<a x=", eof},
      {ok + "<a x", eof}, {ok + "<a /", eof}, {ok + "<!-- a -> b", error + "Unexpected EOF in HTML comment\r\n"},
      {ok + "<a /b>", error + "Found &quot;b&quot; in tag following /\r\n"},
      {ok + "<a x /y>", error + "Found &quot;y&quot; in tag following /\r\n"},
      // The end of the data inside a text run is the end of the walk.
      {ok + "<b>cut sh", "[tag:<b>][text:cut sh]after"},
      // A byte 0xFF reads as the end of the data: it ends a text run, and
      // where an element would begin, the walk.
      {ok + "\x01<\x80 \x90=\x91>x\xffrest", "[text:\x01][tag:<\x80 \x90=\x91>][text:x][text:rest]after"},
      {ok + "<b>\xffrest", "[tag:<b>]after"},
      // Where white space may stand, the end is taken for its end and the tag goes on.
      {ok + "<b x=\xff>", "[tag:<b x=>]after"},
      // Closed inside the header lines: no body, no error.
      {"HTTP/1.0 200 OK\r\nX-Cut: ha", "after"}, {"", "after"},
      {ok + "one<two", "[text:one]" + eof + "afterUnexpected EOF in tag", true},
  };
  for (const Case& c : cases) {
    TestPeer peer(TestPeer::Reply(c.reply));
    TestHost host;
    EXPECT_EQ(Walk(host, peer, "SnCALL", c.nonfatal ? "<SORN SNCALL_ERROR=\"nonfatal\">" : ""), c.page)
        << c.reply;
  }
}

// The call's variables are a frame of their own: an inner call hides the
// outer one's only while it runs, and both are gone behind their loops.
TEST(Call, NestedCallsEachSeeTheirOwnElement) {
  TestPeer outer(TestPeer::Reply("HTTP/1.0 200 OK\r\n\r\n<a>b"));
  TestPeer inner(TestPeer::Reply("HTTP/1.0 200 OK\r\nX: 1\r\n\r\n1<2>"), 2);
  TestHost host;
  std::string page = RunScript(host, "<SnCALL ACTION=\"" + outer.url() +
                                         "\" METHOD=\"GET\">(<SnCALL ACTION=\"" + inner.url() +
                                         "\" METHOD=\"GET\"><SnEVAL EXPR=\"{ callvalue }\"></SnCALL><SnEVAL "
                                         "EXPR=\"{ callvalue $ callnumberofheaders }\">)</SnCALL>"
                                         "<SnEVAL EXPR=\"{ '|' $ callvalue $ '|' }\">");
  EXPECT_EQ(page, "(1<2><a>1)(1<2>b1)||");
}

// The older tag: its attributes are checked by the handler, its loop ends at
// /CALL, and a missing /CALL is named as such.
TEST(Call, OlderCallTag) {
  {
    TestPeer peer(TestPeer::Reply("HTTP/1.0 200 OK\r\n\r\n<i>x"));
    TestHost host;
    EXPECT_EQ(Walk(host, peer, "CALL"), "[tag:<i>][text:x]after");
  }
  {
    TestPeer peer(TestPeer::Reply("HTTP/1.0 200 OK\r\n\r\n"));
    TestHost host;
    EXPECT_EQ(RunScript(host, "<CALL ACTION=\"" + peer.url() + "\" METHOD=\"GET\">\nbody</SnCALL>"),
              "t.sn: Line 2: Syntax Error: Unexpected end of file looking for &lt;/CALL&gt;\r\n");
  }
  EXPECT_EQ(RunScript("<CALL METHOD=\"GET\">x</CALL>"),
            "t.sn: Line 1: Syntax Error: CALL requires the ACTION attribute to be specified\r\n");
  EXPECT_EQ(RunScript("<CALL ACTION=\"http://127.0.0.1:1/\">x</CALL>"),
            "t.sn: Line 1: Syntax Error: CALL requires the METHOD attribute to be specified\r\n");
}

// A peer that never stops sending elements: the global time-out ends the
// script between two of them.
TEST(Call, GlobalTimeoutEndsAnEndlessReply) {
  TestPeer peer([](int fd, const std::string&) {
    TestPeer::SendAll(fd, "HTTP/1.0 200 OK\r\n\r\n");
    std::string block;
    for (int i = 0; i < 1000; i++) block += "<p>";
    while (TestPeer::SendAll(fd, block)) {
    }
  });
  TestHost host;
  host.config_.globaltimeout = 1;
  host.ResetGlobalTimeout();
  auto start = std::chrono::steady_clock::now();
  std::string page = RunScript(host, "<SnCALL ACTION=\"" + peer.url() + "\" METHOD=\"GET\">.</SnCALL>after");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(page.find("after"), std::string::npos);
  EXPECT_NE(page.find("timed out"), std::string::npos)
      << page.substr(page.size() > 200 ? page.size() - 200 : 0);
}

// An upload larger than the copy buffer goes out whole, and Content-Length
// counts exactly the body that was sent.
TEST(Call, UploadSpansManyBufferLoadsAndCountsItsLength) {
  TestPeer peer(TestPeer::Reply("HTTP/1.0 200 OK\r\n\r\nok"));
  TestHost host;
  host.config_.contentbuffersize = 7;
  std::string content;
  for (int i = 0; i < 300; i++) content += "line " + std::to_string(i) + "\n";
  FILE* f = fopen((host.directory_ + "/big.txt").c_str(), "w");
  fwrite(content.data(), 1, content.size(), f);
  fclose(f);
  std::string page =
      RunScript(host,
                "<SnASSIGN NAME=\"doc\" VALUE=\"big.txt\"><SnASSIGN NAME=\"a\" VALUE=\"1\">"
                "<SnCALL ACTION=\"" +
                    peer.url("/up") +
                    "\" METHOD=\"post\" FIELDS=\"a\" FILES=\"doc\"><SnEVAL EXPR=\"{ callvalue }\"></SnCALL>");
  unlink((host.directory_ + "/big.txt").c_str());
  EXPECT_EQ(page, "ok");
  ASSERT_EQ(peer.requests().size(), 1u);
  std::string request = peer.requests()[0];
  size_t end = request.find("\r\n\r\n");
  ASSERT_NE(end, std::string::npos);
  std::string head = request.substr(0, end), body = request.substr(end + 4);
  std::string boundary = body.substr(2, body.find("\r\n") - 2);
  EXPECT_NE((head + "\r\n").find("boundary=" + boundary + "\r\n"), std::string::npos) << head;
  EXPECT_NE(head.find("Content-Length: " + std::to_string(body.size())), std::string::npos) << head;
  EXPECT_EQ(body, "--" + boundary + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n--" +
                      boundary +
                      "\r\nContent-Disposition: form-data; name=\"doc\"; "
                      "filename=\"big.txt\"\r\nContent-Type: unknown\r\n\r\n" +
                      content + "\r\n--" + boundary + "--\r\n");
}

// The reply is streamed: a whole engine walking a 1 GB reply body of
// ordinary elements stays under 16 MB at its peak. The engine runs as its
// own process, so that the peak measured is its own.
TEST(Call, GigabyteReplyIsWalkedInBoundedMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer's shadow memory is not the engine's";
#endif
  const long kTotal = 1L << 30;
  TestPeer peer([kTotal](int fd, const std::string&) {
    std::string block = "<p class=\"row\">" + std::string(4096 - 19, 'x') + "</p>";
    TestPeer::SendAll(fd, "HTTP/1.0 200 OK\r\nContent-Type: text/html\r\n\r\n");
    for (long sent = 0; sent < kTotal && TestPeer::SendAll(fd, block);) sent += block.size();
  });
  TestHost host;  // for its temporary directory
  std::string conf = "sornroot=" + host.directory_ + "\nstdmodedatadir=" + host.directory_ +
                     "\nusecookies=0\nglobaltimeout=300\n";
  std::string script =
      "<SORN STANDARDOUTPUTLEVEL=\"\"><SnASSIGN NAME=\"n\" VALUE=\"0\"><SnCALL ACTION=\"" + peer.url("/big") +
      "\" METHOD=\"GET\"><SnASSIGN NAME=\"n\" VALUE=\"{ n + 1 }\"></SnCALL><SnEVAL EXPR=\"{ n }\">";
  struct rusage usage = {};
  std::string page = RunEngineProcess(host.directory_, conf, script, &usage);
  // Three elements (tag, text, closing tag) per block.
  EXPECT_EQ(page, "Content-type: text/html\r\n\r\n" + std::to_string(kTotal / 4096 * 3));
  EXPECT_LT(usage.ru_maxrss, 16 * 1024) << "peak resident set in KB";
}
