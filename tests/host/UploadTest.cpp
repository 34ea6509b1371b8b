#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "host/MultipartFormDataParser.h"
#include "host/UploadCallbacks.h"
#include "tests/host/TestHost.h"

namespace {

// Script functions as a test declares them; every call is recorded, and
// the process call also records what the temporary file held at that time.
struct FakeCallbacks : UploadCallbacks {
  explicit FakeCallbacks(TestHost* host) : host(host) {}

  int FindFunction(const String& name, int, int& parameters) override {
    bool validate = name.matches("Sorn_ValidateFileUpload");
    parameters = validate ? validateparameters : processparameters;
    return parameters < 0 ? 0 : 1;
  }
  int CallFunction(const String& name, const String* values, int count, String& result) override {
    calls.push_back(name.chars());
    for (int i = 0; i < count; i++) calls.back() += std::string("|") + values[i].chars();
    if (count == 6) {
      std::ifstream in(host->directory_ + "/" + values[3].chars(), std::ios::binary);
      filedata.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    result = count == 3 ? limit.c_str() : "";
    return succeed;
  }
  void ExpressionError(const String& message) override { errors.push_back(message.chars()); }

  TestHost* host;
  int validateparameters = 3, processparameters = 6, succeed = 1;  // parameters -1: not declared
  std::string limit = "0";
  std::vector<std::string> calls, filedata, errors;
};

// The title holds near-misses of the delimiter; an empty file name makes
// an ordinary field, whose value joins the title's.
const char kTitle[] = "Re\r\n--XY\r\n--X\r\r\n-\r\n--XYzport";
const char kForm[] =
    "--XYZ\r\nContent-Disposition: form-data; name=\"title\"\r\n\r\nRe\r\n--XY\r\n--X\r\r\n-\r\n--XYzport\r\n"
    "--XYZ\r\nContent-Disposition: form-data; name=\"title\"; filename=\"\"\r\n\r\n2\r\n"
    "--XYZ\r\ncontent-disposition: form-data; NAME=\"up\"; FileName=\"f.txt\"\r\nContent-Type: text/plain\r\n\r\n"
    "0123456789abcdefghijklmno\r\n"
    "--XYZ\r\nContent-Disposition: form-data; name=\"after\"\r\n\r\nstill read\r\n--XYZ--\r\n";

struct Upload {
  Upload(std::string body, int buffersize = 8192, int chunk = 1 << 20)
      : host(body, chunk), callbacks(&host), parser(&host, &callbacks, buffersize), length((int)body.size()) {
    host.headers_["Content-Type"] = "multipart/form-data; boundary=XYZ";
  }
  int Parse() { return parser.Parse(length); }

  TestHost host;
  FakeCallbacks callbacks;
  MultipartFormDataParser parser;
  int length;
};

}  // namespace

TEST(Multipart, SameResultForEverySplitOfTheBody) {
  // Tiny buffers and reads put every delimiter, header line and CR LF
  // across refills somewhere.
  for (int buffersize : {1, 2, 3, 7, 8, 9, 16, 64}) {
    for (int chunk : {1, 2, 5, 13}) {
      SCOPED_TRACE("buffer " + std::to_string(buffersize) + " chunk " + std::to_string(chunk));
      Upload u(kForm, buffersize, chunk);
      ASSERT_EQ(u.Parse(), 0);
      EXPECT_EQ(u.host.value("title"), std::string(kTitle) + ",2");
      EXPECT_EQ(u.host.value("after"), "still read");
      EXPECT_FALSE(u.host.has("up"));
      ASSERT_EQ(u.callbacks.calls.size(), 2u);
      EXPECT_EQ(u.callbacks.calls[0], "Sorn_ValidateFileUpload|up|f.txt|text/plain");
      EXPECT_EQ(u.callbacks.calls[1],
                "Sorn_ProcessFileUpload|up|f.txt|COMPLETE|SORN_FUP00000001|text/plain|25");
      EXPECT_EQ(u.callbacks.filedata[0], "0123456789abcdefghijklmno");
      EXPECT_TRUE(u.host.Files().empty()) << "temporary file left behind";
      EXPECT_EQ(u.host.offset_, u.host.body_.size());
    }
  }
}

// The limit cuts the file but the whole part is read; a negative limit
// refuses the file, and both functions are needed for any call.
TEST(Multipart, LimitsRefusalsAndMissingFunctions) {
  const std::tuple<const char*, int, size_t, const char*, const char*> cases[] = {
      {"10", 3, 2, "PARTIAL", "0123456789"},
      {"25", 3, 2, "COMPLETE", "0123456789abcdefghijklmno"},
      {"-1", 3, 1, "", ""},
      {"0", -1, 0, "", ""}};
  for (const auto& [limit, validate, calls, status, data] : cases) {
    SCOPED_TRACE(std::string(limit) + " " + std::to_string(validate));
    Upload u(kForm, 4, 3);
    u.callbacks.limit = limit;
    u.callbacks.validateparameters = validate;
    ASSERT_EQ(u.Parse(), 0);
    ASSERT_EQ(u.callbacks.calls.size(), calls);
    if (calls == 2) {
      EXPECT_EQ(u.callbacks.calls[1], std::string("Sorn_ProcessFileUpload|up|f.txt|") + status +
                                          "|SORN_FUP00000001|text/plain|25");
      EXPECT_EQ(u.callbacks.filedata[0], data);
    }
    EXPECT_EQ(u.host.value("after"), "still read");
    EXPECT_TRUE(u.host.Files().empty());
  }
}

// Each failure reports once and reads the rest of the body, unless reading
// itself failed; a header without a boundary, or one in another case, is no
// failure.
TEST(Multipart, FailuresAndShortInputReportAndDrainTheBody) {
  auto type = [](const char* header) {
    return [header](Upload& u) { u.host.headers_["Content-Type"] = header; };
  };
  const struct {
    std::function<void(Upload&)> setup;
    int result, calls;  // calls -1: any
    const char* page;   // the error or page text, when given
  } cases[] = {
      {[](Upload& u) { u.callbacks.processparameters = 5; }, 1, 0,
       "Function 'Sorn_ProcessFileUpload' must be declared with 6 parameters, found 5"},
      {type("multipart/form-data; charset=x; boundary=AaB03x"), 1, 0,
       "Fatal Error: Boundary in Content-Type header does not match boundary in first line of content\r\n"},
      {type("multipart/form-data"), 0, 2, nullptr},
      {type("multipart/form-data; BOUNDARY = xyz "), 0, 2, nullptr},
      {[](Upload& u) { u.callbacks.succeed = 0; }, 1, 1, nullptr},
      {[](Upload& u) { u.length += 100; }, 1, -1, nullptr},      // announced, never sent
      {[](Upload& u) { u.host.fail_ = true; }, 1, -1, nullptr},  // a failed read, as after a signal
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Upload u(kForm, 16, 7);
    c.setup(u);
    EXPECT_EQ(u.Parse(), c.result);
    if (c.calls >= 0) { EXPECT_EQ(u.callbacks.calls.size(), (size_t)c.calls); }
    if (c.page) { EXPECT_EQ(u.callbacks.errors.empty() ? u.host.text() : u.callbacks.errors[0], c.page); }
    if (c.calls == 0) { EXPECT_FALSE(u.host.has("title")); }
    EXPECT_TRUE(u.host.Files().empty());
    if (u.host.fail_)
      EXPECT_LE(u.host.reads_, 2);
    else
      EXPECT_EQ(u.host.offset_, u.host.body_.size());
  }
}

TEST(Multipart, MalformedBodiesFailWithoutHangingOrLeaking) {
  const std::string part = "--XYZ\r\nContent-Disposition: form-data; name=\"up\"; filename=\"f\"\r\n\r\n";
  const std::vector<std::pair<std::string, int>> bodies = {
      {part + "data without a delimiter", 1},  // a part cut off by the end of the body
      {"--XYZ\r\nContent-Disposition: form-data; name=\"a\"", 1},  // headers never end
      {"--XYZ\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\nvalue", 1},
      {"", 1},  // no boundary in the body, another in the header
      {"\n", 1},
      {"--XYZ", 0},  // no parts at all
      {"--XYZ\r\nContent-Disposition: form-data; name=\"b\"\r\n\r\nv\r\n--XYZ", 0},  // no end marker
      {"--XYZ\r\nContent-Disposition: form-data; name=\"" + std::string(100000, 'n') + "\"\r\n\r\nv\r\n--XYZ--", 0},
  };
  for (const auto& [body, expected] : bodies) {
    SCOPED_TRACE("[" + body + "]");
    for (int buffersize : {1, 8, 8192}) {
      Upload u(body, buffersize, 1000);
      EXPECT_EQ(u.Parse(), expected);
      EXPECT_EQ(u.callbacks.calls.size(), body.find("filename") != std::string::npos ? 1u : 0u);
      EXPECT_FALSE(u.host.has("a"));
      EXPECT_TRUE(u.host.Files().empty());
    }
  }
}
