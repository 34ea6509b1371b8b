// MultipartFormDataParser: a multipart/form-data body read as a stream
// through one fixed buffer. Ordinary fields become form variables; the
// data of a file field goes to a temporary file in the data directory,
// under the control of the script's upload functions, and never into
// memory.
#ifndef SORN_HOST_MULTIPARTFORMDATAPARSER_H
#define SORN_HOST_MULTIPARTFORMDATAPARSER_H

#include "core/ContentParser.h"

class File;
class UploadCallbacks;

class MultipartFormDataParser : public ContentParser {
 public:
  // The buffer holds buffersize bytes, or the delimiter if that is longer.
  MultipartFormDataParser(Sorn* sorn, UploadCallbacks* callbacks, int buffersize);
  ~MultipartFormDataParser() override;

  // 0 on success, 1 on failure; the rest of the body is read away in both.
  int Parse(int length) override;

  // The steps below return 0 to go on, 1 on failure, 2 at the end marker.
  int ReadInitialBoundary();
  int ReadHeaders(String& name, String& filename, String& contenttype);
  int ReadVariable(String& value);
  int ReadFile(String& name, String& filename, String& contenttype);
  int ReadBoundary();
  int DrainContent();
  int FillBuffer();
  // The buffer position of the delimiter, or -1 with keep set to where a
  // possible partial delimiter starts (the end of the data if none does).
  int ScanBufferForBoundary(int* keep);

 private:
  enum { kExhausted = 3, kMaximumLine = 16384 };

  int FindUploadFunctions();
  int Refill();
  int ReadLine(String& line);
  int WriteAll(File* file, const char* data, int count, const String& name);

  UploadCallbacks* callbacks_;
  int hasvalidate_;
  int hasprocess_;
  char* buffer_;
  int buffersize_;
  int bufferpos_;
  int bufferend_;
  int consumed_;
  int received_;
  int contentlength_;
  String boundary_;
};

#endif
