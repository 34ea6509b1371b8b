#include "core/Sorn.h"

namespace {

struct HTTPResult {
  int code;
  const char* text;
};

// Searched in order; the row with code 0 ends the table and answers every
// unknown code.
const HTTPResult kResults[] = {
    {100, "Continue"},
    {101, "Switching Protocols"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Moved Temporarily"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {400, "Bad Request"},
    {401, "Authorization Required"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Time-out"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Request Entity Too Large"},
    {414, "Request-URI Too Large"},
    {415, "Unsupported Media Type"},
    {500, "Internal Server Error"},
    {501, "Method Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Temporarily Unavailable"},
    {504, "Gateway Time-out"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Varies"},
    {0, ""},
};

}  // namespace

const char* Sorn::HTTPResultMessage(int status) {
  const HTTPResult* row = kResults;
  while (row->code != 0 && row->code != status) row++;
  return row->text;
}
