#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "core/Buffer.h"
#include "core/Output.h"
#include "host/CGISorn.h"

namespace {

// A temporary file holding the given bytes, removed with the object.
class TempFile {
 public:
  explicit TempFile(const std::string& content) {
    char name[] = "/tmp/sorn-buffer-XXXXXX";
    int fd = mkstemp(name);
    EXPECT_EQ(write(fd, content.data(), content.size()), (ssize_t)content.size());
    close(fd);
    path = name;
  }
  ~TempFile() { unlink(path.c_str()); }
  std::string path;
};

std::string ReadAll(Buffer& buffer) {
  std::string s;
  for (int c = buffer.GetNextChar(); c != -1; c = buffer.GetNextChar()) s += (char)c;
  return s;
}

class CountingOutput : public Output {
 public:
  explicit CountingOutput(int size) : Output(size) {}
  int DoWrite(const char* data, int count) override {
    calls.push_back(std::string(data, count));
    return count;
  }
  std::vector<std::string> calls;
};

}  // namespace

TEST(Buffer, ReadsUnGetsAndSeeksAcrossBlocks) {
  CGISorn sorn(0, nullptr);
  TempFile exact("abcdefgh"), file("abcdefghij");  // two blocks of 4, and two and a half
  Buffer buffer(&sorn, 4);
  ASSERT_TRUE(buffer.Open(exact.path.c_str(), "t"));
  EXPECT_EQ(ReadAll(buffer), "abcdefgh");
  EXPECT_EQ(buffer.GetNextChar(), -1);
  EXPECT_EQ(buffer.CurrentFilePosition(), 8);

  ASSERT_TRUE(buffer.Open(file.path.c_str(), "t"));
  for (int i = 0; i < 4; i++) buffer.GetNextChar();  // the eager refill moves to the second block
  EXPECT_EQ(buffer.CurrentFilePosition(), 4);
  buffer.UnGetChar();
  EXPECT_EQ(buffer.CurrentFilePosition(), 3);
  EXPECT_EQ(buffer.GetNextChar(), 'd');
  EXPECT_EQ(buffer.GetNextChar(), 'e');
  // At the end: -1 does not advance, so an unget moves back one real byte.
  while (buffer.GetNextChar() != -1) {
  }
  buffer.UnGetChar();
  EXPECT_EQ(buffer.GetNextChar(), 'j');

  // Inside the block a seek moves the index; outside it refills, unaligned.
  ASSERT_TRUE(buffer.Open(file.path.c_str(), "t"));
  EXPECT_EQ(buffer.Seek(2), 1);
  EXPECT_EQ(buffer.GetNextChar(), 'c');
  EXPECT_TRUE(buffer.Seek(7));
  EXPECT_EQ(ReadAll(buffer), "hij");
  EXPECT_TRUE(buffer.Seek(1));
  EXPECT_EQ(ReadAll(buffer), "bcdefghij");
  EXPECT_FALSE(buffer.Open("/nonexistent/file", "x"));

  // A file shorter than the block gets a smaller one; it must read as a full
  // block would, also once the file has grown under it.
  TempFile growing("abc");
  Buffer big(&sorn, 100);
  ASSERT_TRUE(big.Open(growing.path.c_str(), "g"));
  EXPECT_EQ(ReadAll(big), "abc");
  FILE* more = fopen(growing.path.c_str(), "a");
  fputs("defgh", more);
  fclose(more);
  EXPECT_EQ(big.GetNextChar(), -1);  // the end seen at the first read stands
  EXPECT_TRUE(big.Seek(1));
  EXPECT_EQ(ReadAll(big), "bc");
  EXPECT_TRUE(big.Seek(3));  // outside the block: read afresh from there
  EXPECT_EQ(ReadAll(big), "defgh");
  EXPECT_EQ(big.CurrentFilePosition(), 8);
}

TEST(Output, ExactSizeStaysBufferedOneMoreGoesOutInTwoPartsStringsOnFlush) {
  CountingOutput out(4);
  EXPECT_EQ(out.Write("abcd", 4), 4);
  EXPECT_TRUE(out.calls.empty());
  out.Write("e", 1);  // does not fit behind the four: flush first
  ASSERT_EQ(out.calls.size(), 1u);
  EXPECT_EQ(out.calls[0], "abcd");
  out.Flush();
  out.calls.clear();

  out.Write("abcde", -1);  // longer than the buffer: full blocks go, the tail stays
  ASSERT_EQ(out.calls.size(), 1u);
  EXPECT_EQ(out.calls[0], "abcd");
  out.Flush();
  EXPECT_EQ(out.calls[1], "e");

  // A buffer larger than its first allocation grows while text comes in,
  // and still writes exactly what one full buffer would.
  CountingOutput big(3000);
  std::string sent;
  for (int i = 0; i < 7; i++) {
    std::string piece(450, (char)('a' + i));
    big.Write(piece.c_str(), (int)piece.size());
    sent += piece;
  }
  std::string tail(6100, 'z');
  big.Write(tail.c_str(), (int)tail.size());
  big.Flush();
  sent += tail;
  std::string written;
  for (const std::string& call : big.calls) written += call;
  EXPECT_EQ(written, sent);
  ASSERT_GE(big.calls.size(), 3u);
  EXPECT_EQ(big.calls[0].size(), 2700u);  // six pieces; the seventh did not fit
  EXPECT_EQ(big.calls[1].size(), 3000u);

  StringOutput text(8);  // collects only after a flush
  text.Write("hello", -1);
  EXPECT_STREQ(text.string(), "");
  text.Flush();
  text.Flush();
  EXPECT_STREQ(text.string(), "hello");
}
