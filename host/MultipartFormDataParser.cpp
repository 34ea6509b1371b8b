#include "host/MultipartFormDataParser.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>

#include "core/Error.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/Sorn.h"
#include "host/UploadCallbacks.h"
#include "script/Variables.h"

namespace {

const char kValidateFunction[] = "Sorn_ValidateFileUpload";
const char kProcessFunction[] = "Sorn_ProcessFileUpload";

// Splits an item at its first "=", strips both sides.
void SplitItem(const String& item, String& name, String& value) {
  name = item.before("=");
  value = item.after("=");
  name.StripWhitespace();
  value.StripWhitespace();
}

String ParameterCountMessage(const char* function, int expected, int found) {
  char text[160];
  snprintf(text, sizeof text, "Function '%s' must be declared with %d parameters, found %d", function, expected,
           found);
  return text;
}

}  // namespace

MultipartFormDataParser::MultipartFormDataParser(Sorn* sorn, UploadCallbacks* callbacks, int buffersize)
    : ContentParser(sorn),
      callbacks_(callbacks),
      hasvalidate_(0),
      hasprocess_(0),
      buffer_(nullptr),
      buffersize_(buffersize > 0 ? buffersize : 1),
      bufferpos_(0),
      bufferend_(0),
      consumed_(0),
      received_(0),
      contentlength_(0) {
  buffer_ = new char[buffersize_];
}

MultipartFormDataParser::~MultipartFormDataParser() { delete[] buffer_; }

int MultipartFormDataParser::Parse(int length) {
  contentlength_ = length > 0 ? length : 0;
  int result = FindUploadFunctions();
  if (result == 0) result = ReadInitialBoundary();
  while (result == 0 && consumed_ + bufferpos_ < contentlength_) {
    String name, filename, contenttype, value;
    result = ReadHeaders(name, filename, contenttype);
    if (result != 0) break;
    if (filename.empty()) {
      result = ReadVariable(value);
      if (result == 0) sorn_->vars()->AddFormVariable(name, value);
    } else {
      result = ReadFile(name, filename, contenttype);
    }
    if (result == 0) result = ReadBoundary();
  }
  DrainContent();
  return result == 1 ? 1 : 0;
}

int MultipartFormDataParser::FindUploadFunctions() {
  int count = 0;
  int found = callbacks_->FindFunction(kValidateFunction, 1, count);
  if (found < 0) return 1;
  if (found > 0 && count != 3) {
    callbacks_->ExpressionError(ParameterCountMessage(kValidateFunction, 3, count));
    return 1;
  }
  hasvalidate_ = found > 0;
  found = callbacks_->FindFunction(kProcessFunction, 0, count);
  if (found < 0) return 1;
  if (found > 0 && count != 6) {
    callbacks_->ExpressionError(ParameterCountMessage(kProcessFunction, 6, count));
    return 1;
  }
  hasprocess_ = found > 0;
  return 0;
}

int MultipartFormDataParser::FillBuffer() {
  consumed_ += bufferpos_;
  int unread = bufferend_ - bufferpos_;
  if (unread > 0 && bufferpos_ > 0) memmove(buffer_, buffer_ + bufferpos_, unread);
  bufferpos_ = 0;
  bufferend_ = unread > 0 ? unread : 0;
  int wanted = buffersize_ - bufferend_;
  if (contentlength_ - received_ < wanted) wanted = contentlength_ - received_;
  while (wanted > 0) {
    int count = sorn_->ReadContent(buffer_ + bufferend_, wanted);
    // The end of the input before the announced length, a failed read or
    // a signal: the body is incomplete.
    if (count <= 0 || count > wanted) return 1;
    bufferend_ += count;
    received_ += count;
    wanted -= count;
  }
  return 0;
}

// FillBuffer, and kExhausted when no new byte arrived because the body has
// been received in full.
int MultipartFormDataParser::Refill() {
  int had = bufferend_ - bufferpos_;
  if (FillBuffer() != 0) return 1;
  return bufferend_ > had ? 0 : kExhausted;
}

int MultipartFormDataParser::ScanBufferForBoundary(int* keep) {
  const char* delimiter = boundary_.chars();
  int length = boundary_.length();
  int position = bufferpos_;
  while (length > 0 && position < bufferend_) {
    const char* hit = (const char*)memchr(buffer_ + position, delimiter[0], bufferend_ - position);
    if (hit == nullptr) break;
    position = (int)(hit - buffer_);
    int available = bufferend_ - position;
    if (available >= length) {
      if (memcmp(hit, delimiter, length) == 0) return position;
    } else if (memcmp(hit, delimiter, available) == 0) {
      *keep = position;
      return -1;
    }
    position++;
  }
  *keep = bufferend_;
  return -1;
}

// Collects bytes up to the next line feed, across refills, and steps over
// it. Lines longer than kMaximumLine keep only their start. 0 when the line
// feed was found, kExhausted when the body ended first (line holds what
// there was), 1 on a failed read.
int MultipartFormDataParser::ReadLine(String& line) {
  ContentCollector collected(kMaximumLine);
  for (;;) {
    int available = bufferend_ - bufferpos_;
    const char* feed = available > 0 ? (const char*)memchr(buffer_ + bufferpos_, '\n', available) : nullptr;
    int end = feed != nullptr ? (int)(feed - buffer_) : bufferend_;
    collected.Append(buffer_ + bufferpos_, end - bufferpos_);
    if (feed != nullptr) {
      bufferpos_ = end + 1;
      line = collected.text();
      return 0;
    }
    bufferpos_ = end;
    int result = Refill();
    if (result != 0) {
      line = collected.text();
      return result;
    }
  }
}

int MultipartFormDataParser::ReadInitialBoundary() {
  String line;
  if (ReadLine(line) == 1) return 1;
  if (!line.empty() && line[line.length() - 1] == '\r') line.truncate(line.length() - 1);
  String boundary = line.length() >= 2 && line[0] == '-' && line[1] == '-' ? line.from(2) : line;

  String header = sorn_->RequestHeader("Content-Type");
  String item, name, value;
  int position = 0;
  NextPiece(header, ';', position, item);
  while (NextPiece(header, ';', position, item)) {
    SplitItem(item, name, value);
    if (!name.matches("boundary")) continue;
    if (strcasecmp(value.chars(), boundary.chars()) != 0) {
      sorn_->Error(FatalError("Boundary in Content-Type header does not match boundary in first line of content"));
      return 1;
    }
    break;
  }

  boundary_ = "\r\n--" + boundary;
  if (boundary_.length() > buffersize_) {
    // The whole delimiter must fit for a scan to find it.
    int unread = bufferend_ - bufferpos_;
    char* grown = new char[boundary_.length()];
    if (unread > 0) memcpy(grown, buffer_ + bufferpos_, unread);
    delete[] buffer_;
    buffer_ = grown;
    buffersize_ = boundary_.length();
    consumed_ += bufferpos_;
    bufferpos_ = 0;
    bufferend_ = unread > 0 ? unread : 0;
  }
  return 0;
}

int MultipartFormDataParser::ReadHeaders(String& name, String& filename, String& contenttype) {
  for (;;) {
    String line;
    // A body that ends inside the headers has no data for this part.
    if (ReadLine(line) != 0) return 1;
    line.StripWhitespace();
    if (line.empty()) return 0;
    String header, value;
    header = line.before(":");
    value = line.after(":");
    header.StripWhitespace();
    value.StripWhitespace();
    if (header.matches("Content-Disposition")) {
      String item, key, text;
      int position = 0;
      NextPiece(value, ';', position, item);
      while (NextPiece(value, ';', position, item)) {
        SplitItem(item, key, text);
        int n = text.length();
        if (n >= 2 && text[0] == '"' && text[n - 1] == '"') text = text.at(1, n - 1);
        if (key.matches("name"))
          name = text;
        else if (key.matches("filename"))
          filename = text;
      }
    } else if (header.matches("Content-Type")) {
      contenttype = value;
    }
  }
}

int MultipartFormDataParser::ReadVariable(String& value) {
  ContentCollector collected;
  for (;;) {
    int keep = bufferend_;
    int at = ScanBufferForBoundary(&keep);
    int end = at >= 0 ? at : keep;
    collected.Append(buffer_ + bufferpos_, end - bufferpos_);
    bufferpos_ = end;
    if (at >= 0) {
      value = collected.text();
      return 0;
    }
    // A part that the body's end cuts off is lost.
    if (Refill() != 0) return 1;
  }
}

int MultipartFormDataParser::ReadFile(String& name, String& filename, String& contenttype) {
  int callable = hasvalidate_ && hasprocess_;
  long limit = 0;
  if (callable) {
    String values[3] = {name, filename, contenttype};
    String answer;
    sorn_->ResetGlobalTimeout();
    if (!callbacks_->CallFunction(kValidateFunction, values, 3, answer)) return 1;
    limit = strtol(answer.chars(), nullptr, 10);
  }

  File* file = nullptr;
  String path, temporary("SORN_FUP");
  if (callable && limit >= 0) {
    String message;
    if (!sorn_->ResolvePath(temporary, path, DataPath, message)) {
      sorn_->Error(FatalError(message));
      return 1;
    }
    file = sorn_->filemanager()->MakeTemporary(path, temporary, FileWrite);
    if (file == nullptr) {
      sorn_->Error(sorn_->filemanager()->error());
      return 1;
    }
  }

  int result = 0;
  long size = 0;
  long written = 0;
  for (;;) {
    int keep = bufferend_;
    int at = ScanBufferForBoundary(&keep);
    int end = at >= 0 ? at : keep;
    int count = end - bufferpos_;
    if (file != nullptr) {
      long part = count;
      if (limit > 0 && written + part > limit) part = limit - written;
      if (part > 0) {
        if (!WriteAll(file, buffer_ + bufferpos_, (int)part, temporary)) {
          result = 1;
          break;
        }
        written += part;
      }
    }
    size += count;
    bufferpos_ = end;
    if (at >= 0) break;
    if (Refill() != 0) {
      result = 1;
      break;
    }
  }
  if (file == nullptr) return result;

  delete file;
  if (result == 0) {
    char digits[24];
    snprintf(digits, sizeof digits, "%ld", size);
    String values[6] = {name, filename, limit == 0 || limit >= size ? "COMPLETE" : "PARTIAL", temporary,
                        contenttype, digits};
    String ignored;
    sorn_->ResetGlobalTimeout();
    if (!callbacks_->CallFunction(kProcessFunction, values, 6, ignored)) result = 1;
  }
  // Whatever the script did with it, the temporary file goes; a script
  // that keeps the data has copied or renamed it.
  sorn_->filemanager()->Delete(path);
  return result;
}

int MultipartFormDataParser::ReadBoundary() {
  if (bufferend_ - bufferpos_ < boundary_.length()) return 1;
  bufferpos_ += boundary_.length();
  String rest;
  if (ReadLine(rest) == 1) return 1;
  rest.StripWhitespace();
  return rest == "--" ? 2 : 0;
}

int MultipartFormDataParser::DrainContent() {
  while (received_ < contentlength_) {
    int wanted = contentlength_ - received_;
    if (wanted > buffersize_) wanted = buffersize_;
    int count = sorn_->ReadContent(buffer_, wanted);
    if (count <= 0 || count > wanted) break;
    received_ += count;
  }
  consumed_ += bufferend_;
  bufferpos_ = bufferend_ = 0;
  return 0;
}

int MultipartFormDataParser::WriteAll(File* file, const char* data, int count, const String& name) {
  while (count > 0) {
    int done = file->Write(data, count);
    if (done <= 0) {
      String reason = done < 0 ? file->error() : sorn_->lasterror();
      sorn_->Error(FatalError("Error writing to '" + name + "': " + reason));
      return 0;
    }
    data += done;
    count -= done;
  }
  return 1;
}
