// URLEncodedParser: a body of application/x-www-form-urlencoded, read in
// blocks of a fixed buffer. Each name=value pair becomes a form variable;
// only the value is URL-decoded, and repeated names collect their values.
#ifndef SORN_HOST_URLENCODEDPARSER_H
#define SORN_HOST_URLENCODEDPARSER_H

#include "core/ContentParser.h"

class URLEncodedParser : public ContentParser {
 public:
  URLEncodedParser(Sorn* sorn, int buffersize);
  ~URLEncodedParser() override;

  // Reads up to length bytes; the end of the input or a failed read ends
  // the body with what has arrived. Always 0.
  int Parse(int length) override;

 private:
  void AddPair(const ContentCollector& pair);

  char* buffer_;
  int buffersize_;
};

#endif
