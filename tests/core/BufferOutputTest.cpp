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

TEST(Buffer, ReadsAcrossBlocksAndAFileOfExactBlocks) {
  CGISorn sorn(0, nullptr);
  TempFile file("abcdefgh");  // two blocks of 4
  Buffer buffer(&sorn, 4);
  ASSERT_TRUE(buffer.Open(file.path.c_str(), "t"));
  EXPECT_EQ(ReadAll(buffer), "abcdefgh");
  EXPECT_EQ(buffer.GetNextChar(), -1);
  EXPECT_EQ(buffer.CurrentFilePosition(), 8);
}

TEST(Buffer, UnGetCharCrossesBackOverABlockBoundary) {
  CGISorn sorn(0, nullptr);
  TempFile file("abcdefghij");
  Buffer buffer(&sorn, 4);
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
}

TEST(Buffer, SeekInsideBlockMovesIndexOutsideRefillsUnaligned) {
  CGISorn sorn(0, nullptr);
  TempFile file("0123456789");
  Buffer buffer(&sorn, 4);
  ASSERT_TRUE(buffer.Open(file.path.c_str(), "t"));
  EXPECT_EQ(buffer.Seek(2), 1);
  EXPECT_EQ(buffer.GetNextChar(), '2');
  EXPECT_TRUE(buffer.Seek(7));
  EXPECT_EQ(ReadAll(buffer), "789");
  EXPECT_TRUE(buffer.Seek(1));
  EXPECT_EQ(ReadAll(buffer), "123456789");
  EXPECT_FALSE(buffer.Open("/nonexistent/file", "x"));
}

TEST(Output, ExactSizeStaysBufferedOneMoreGoesOutInTwoParts) {
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
}

TEST(Output, StringOutputCollectsOnlyAfterFlush) {
  StringOutput out(8);
  out.Write("hello", -1);
  EXPECT_STREQ(out.string(), "");
  out.Flush();
  out.Flush();
  EXPECT_STREQ(out.string(), "hello");
}
