// A scratch site for the fuzz targets: a temporary root with a script
// directory, a data directory and a configuration file with a short time
// limit, and the engine's output sent to /dev/null. A request stops after
// kRequestMilliseconds: the configuration counts whole seconds, and a second
// per looping input would let the fuzzer try only a few dozen inputs a second.
#ifndef SORN_FUZZ_FUZZHOST_H
#define SORN_FUZZ_FUZZHOST_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "core/NetworkManager.h"
#include "host/CGISorn.h"

// No input may reach the network: a web call or a mail tag naming a real or
// unroutable host would wait seconds on a connect. Every look-up fails at
// once, as an unknown host does.
class OfflineNetworkManager : public NetworkManager {
 public:
  explicit OfflineNetworkManager(Sorn* sorn) : NetworkManager(sorn) {}
  int GetHostAddress(const String& host, String&) override {
    Error("Error looking up '" + host + "'");
    return -1;
  }
  NetworkConnection* Connect(const String& host, const int) override {
    Error("Error looking up '" + host + "'");
    return nullptr;
  }
};

// The engine polls timedout() in its loops and long built-ins, so a shorter
// answer here is enough to cut every request short.
class FuzzSorn : public CGISorn {
 public:
  static constexpr int kRequestMilliseconds = 50;

  FuzzSorn(int argc, char** argv)
      : CGISorn(argc, argv), network_(this), start_(std::chrono::steady_clock::now()) {}

  int timedout() override {
    auto spent = std::chrono::steady_clock::now() - start_;
    if (spent >= std::chrono::milliseconds(kRequestMilliseconds)) return 1;
    return CGISorn::timedout();
  }
  NetworkManager* networkmanager() override { return &network_; }

 private:
  OfflineNetworkManager network_;
  std::chrono::steady_clock::time_point start_;
};

class FuzzHost {
 public:
  static FuzzHost& Get() {
    static FuzzHost host;
    return host;
  }

  void WriteFile(const std::string& relative, const uint8_t* data, size_t size) {
    std::string path = root + "/" + relative;
    FILE* f = fopen(path.c_str(), "wb");
    if (f == nullptr) return;
    if (size > 0) fwrite(data, 1, size, f);
    fclose(f);
  }

  void WriteConfiguration(const std::string& extra) {
    std::string text = "sornroot=" + root + "/site\nstdmodedatadir=" + root +
                       "/data\nusecookies=0\nglobaltimeout=1\nmaxfunctiondepth=8\n" + extra;
    WriteFile("sorn.conf", (const uint8_t*)text.data(), text.size());
  }

  // Runs one request through the whole engine.
  int Run() {
    char* argv[] = {(char*)program.c_str(), nullptr};
    FuzzSorn sorn(1, argv);
    return sorn.Go();
  }

  std::string root;
  std::string program;

 private:
  FuzzHost() {
    char pattern[] = "/tmp/sorn-fuzz-XXXXXX";
    root = mkdtemp(pattern);
    mkdir((root + "/site").c_str(), 0700);
    mkdir((root + "/data").c_str(), 0700);
    program = root + "/sorn";
    WriteConfiguration("");
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    close(null);
    setenv("PATH_INFO", "/t.sn", 1);
    setenv("REQUEST_METHOD", "GET", 1);
    setenv("QUERY_STRING", "", 1);
  }
};

#endif
