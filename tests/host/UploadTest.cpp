#include <gtest/gtest.h>

#include <fstream>
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

TEST(Multipart, FailuresAndShortInputReportAndDrainTheBody) {
  Upload count(kForm, 16);
  count.callbacks.processparameters = 5;
  EXPECT_EQ(count.Parse(), 1);
  ASSERT_EQ(count.callbacks.errors.size(), 1u);
  EXPECT_EQ(count.callbacks.errors[0], "Function 'Sorn_ProcessFileUpload' must be declared with 6 parameters, found 5");
  EXPECT_EQ(count.host.offset_, count.host.body_.size());
  EXPECT_FALSE(count.host.has("title"));

  Upload mismatch(kForm, 16);
  mismatch.host.headers_["Content-Type"] = "multipart/form-data; charset=x; boundary=AaB03x";
  EXPECT_EQ(mismatch.Parse(), 1);
  EXPECT_EQ(mismatch.host.text(),
            "Fatal Error: Boundary in Content-Type header does not match boundary in first line of content\r\n");
  EXPECT_EQ(mismatch.host.offset_, mismatch.host.body_.size());

  // A header without a boundary is accepted, and the comparison ignores case.
  Upload noparameter(kForm), othercase(kForm);
  noparameter.host.headers_["Content-Type"] = "multipart/form-data";
  othercase.host.headers_["Content-Type"] = "multipart/form-data; BOUNDARY = xyz ";
  EXPECT_EQ(noparameter.Parse() + othercase.Parse(), 0);

  Upload failedcall(kForm);
  failedcall.callbacks.succeed = 0;
  EXPECT_EQ(failedcall.Parse(), 1);
  EXPECT_EQ(failedcall.callbacks.calls.size(), 1u);
  EXPECT_EQ(failedcall.host.offset_, failedcall.host.body_.size());
  EXPECT_TRUE(failedcall.host.Files().empty());

  // A body shorter than announced, and a failed read as after a signal.
  Upload shortbody(kForm, 16, 7), failing(kForm, 16);
  shortbody.length += 100;
  failing.host.fail_ = true;
  EXPECT_EQ(shortbody.Parse(), 1);
  EXPECT_TRUE(shortbody.host.Files().empty());
  EXPECT_EQ(failing.Parse(), 1);
  EXPECT_LE(failing.host.reads_, 2);
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
