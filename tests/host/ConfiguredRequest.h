// A request taken through configuration in a scratch directory, its page
// kept in a string: the tests name the script root and data directory, add
// configuration lines, and call into the configured engine.
#ifndef SORN_TESTS_HOST_CONFIGUREDREQUEST_H
#define SORN_TESTS_HOST_CONFIGUREDREQUEST_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/Output.h"
#include "host/CGISorn.h"
#include "tests/host/ScratchDir.h"

class ConfiguredRequest : public ::testing::Test, protected ScratchDir {
 protected:
  class SiteSorn : public CGISorn {
   public:
    SiteSorn(int argc, char** argv) : CGISorn(argc, argv) {}
    Output* output() override { return &out_; }
    std::string text() {
      out_.Flush();
      return out_.string().chars();
    }

   private:
    StringOutput out_{64};
  };

  // Writes sorn.conf (site and data relative to the scratch directory, then
  // the extra lines) and configures a request for site/t.sn.
  void Start(const std::string& site, const std::string& data, const std::vector<std::string>& extra = {}) {
    sorn_.reset();
    std::string conf = "sornroot=" + P(site) + "\nstdmodedatadir=" + P(data) + "\n";
    for (const std::string& line : extra) conf += line + "\n";
    Write("sorn.conf", conf);
    args_ = {P("sorn"), "t.sn"};
    char* argv[] = {&args_[0][0], &args_[1][0], nullptr};
    sorn_.reset(new SiteSorn(2, argv));
    String path, name;
    ASSERT_TRUE(sorn_->LoadConfiguration() && sorn_->CheckConfiguration() &&
                sorn_->GetScriptInformation(path, name) && sorn_->ProcessConfiguration(path, name))
        << sorn_->text();
  }

  std::vector<std::string> args_;
  std::unique_ptr<SiteSorn> sorn_;
};

#endif
