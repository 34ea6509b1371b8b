// Feeds a web call's reply (status line, headers, body) to SnCALL's reader, through the whole engine.
#include <algorithm>
#include <cstring>

#include "core/NetworkConnection.h"
#include "core/NetworkManager.h"
#include "fuzz/FuzzHost.h"

namespace {

// The reply comes from memory in pieces of a size chosen by the input, so
// that block boundaries fall everywhere.
class MemoryConnection : public NetworkConnection {
 public:
  MemoryConnection(Sorn* sorn, const uint8_t* data, size_t size, size_t piece)
      : NetworkConnection(sorn), data_(data), size_(size), piece_(piece), at_(0) {}
  int Read(char* buffer, int length, int) override {
    size_t n = std::min({(size_t)length, piece_, size_ - at_});
    memcpy(buffer, data_ + at_, n);
    at_ += n;
    return (int)n;
  }
  int ReadLine(String& line, int) override {
    line = "";
    while (at_ < size_) {
      char c = (char)data_[at_++];
      line.cat(c);
      if (c == '\n') return line.length();
    }
    return -1;
  }
  int Write(const char*, int length) override { return length; }
  int Connect(const String&, int) override { return 1; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t piece_;
  size_t at_;
};

class MemoryNetwork : public NetworkManager {
 public:
  MemoryNetwork(Sorn* sorn, const uint8_t* data, size_t size, size_t piece)
      : NetworkManager(sorn), data_(data), size_(size), piece_(piece) {}
  int GetHostAddress(const String&, String& address) override {
    address = "127.0.0.1";
    return 0;
  }
  NetworkConnection* Connect(const String&, const int) override {
    return new MemoryConnection(sorn_, data_, size_, piece_);
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t piece_;
};

class ReplyHost : public CGISorn {
 public:
  ReplyHost(char** argv, const uint8_t* data, size_t size, size_t piece)
      : CGISorn(1, argv), network_(this, data, size, piece) {}
  NetworkManager* networkmanager() override { return &network_; }

 private:
  MemoryNetwork network_;
};

const char kScript[] =
    "<SORN SNCALL_ERROR=\"nonfatal\"><SnCALL ACTION=\"http://peer/page\" METHOD=\"GET\">"
    "<SnEVAL EXPR=\"{ callnumberofheaders $ callreturnheader1 $ callobjecttype $ callobjectelement $ callvalue $ "
    "callobjectnumattributes $ callobjectattribute1 $ callobjectvalue1 $ callobjectattribute3 $ callobjectvalue3 }\">"
    "</SnCALL>done";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  static bool written = false;
  if (!written) {
    host.WriteFile("site/t.sn", (const uint8_t*)kScript, sizeof kScript - 1);
    host.WriteConfiguration("callbuffersize=5\ncalltimeout=1\n");
    written = true;
  }
  size_t piece = size > 0 ? data[0] % 16 + 1 : 1;
  if (size > 0) {
    data++;
    size--;
  }
  char* argv[] = {(char*)host.program.c_str(), nullptr};
  ReplyHost sorn(argv, data, size, piece);
  sorn.Go();
  return 0;
}
