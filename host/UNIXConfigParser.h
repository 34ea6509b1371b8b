// UNIXConfigParser: reads the configuration file: name=value lines with '#'
// comments and backslash protection, and the tags VIRTUALHOST,
// CONTENT-TYPE, COMMERCE-LIB and PACKAGE, which are recognised here and
// take no effect yet.
#ifndef SORN_HOST_UNIXCONFIGPARSER_H
#define SORN_HOST_UNIXCONFIGPARSER_H

#include "script/Parser.h"

class UNIXConfig;

class UNIXConfigParser : public Parser {
 public:
  UNIXConfigParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config);

  void SetupSupportedTags() override;
  int GetNextLine(String& line) override;
  int ProcessKnownTag(Tag* tag) override;
  int ProcessUnknownTag(String&) override { return 1; }
  int ProcessText(String& text) override;
  int ProcessNewLine(String&) override { return 1; }

 private:
  UNIXConfig* config_;
};

#endif
