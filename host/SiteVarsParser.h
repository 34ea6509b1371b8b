// SiteVarsParser: a site-variable file of name=value lines whose values
// become system variables. A backslash takes the next character as it is
// (a backslash and line end join two lines); '#' starts a comment only at
// the start of a line; a last line without a line end is not read.
#ifndef SORN_HOST_SITEVARSPARSER_H
#define SORN_HOST_SITEVARSPARSER_H

#include "core/String.h"

class Buffer;
class Sorn;

class SiteVarsParser {
 public:
  SiteVarsParser(Sorn* sorn, Buffer* buffer) : sorn_(sorn), buffer_(buffer) {}
  // Always 1: a site-variable file has no syntax errors.
  int Parse();
  // 2 for a line that ended in a line end, 4 at the end of the file.
  int GetNextLine(String& line);

 private:
  Sorn* sorn_;
  Buffer* buffer_;
};

#endif
