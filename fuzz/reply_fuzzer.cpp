// Feeds a web call's reply (status line, headers, body) to SnCALL's reader, through the whole engine.
#include "core/NetworkManager.h"
#include "fuzz/FuzzHost.h"
#include "fuzz/MemoryConnection.h"

namespace {

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
    "<SnEVAL EXPR=\"{ callnumberofheaders $ callreturnheader1 $ callobjecttype $ callobjectelement $ "
    "callvalue $ "
    "callobjectnumattributes $ callobjectattribute1 $ callobjectvalue1 $ callobjectattribute3 $ "
    "callobjectvalue3 }\">"
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
