#include "script/SMTPOutput.h"

#include <cstring>

#include "core/NetworkConnection.h"

// The data is flushed here, not by the base class: the connection is gone
// by then once EndData has run, and a flush with an empty buffer sends nothing.
SMTPOutput::~SMTPOutput() {}

int SMTPOutput::Write(const char* data, int length) {
  if (length == -1) length = (int)strlen(data);
  if (length <= 0) return 0;
  char* converted = new char[2 * (size_t)length];
  int n = 0;
  for (int i = 0; i < length; i++) {
    if (data[i] == '\r') continue;
    if (data[i] == '\n') converted[n++] = '\r';
    converted[n++] = data[i];
  }
  Output::Write(converted, n);
  delete[] converted;
  return length;
}

int SMTPOutput::DoWrite(const char* data, int count) {
  int sent = 0;
  int from = 0;
  for (int i = 0; i < count; i++) {
    if (linestart_ && data[i] == '.') {
      // Everything up to the dot, then one more dot; the dot itself goes
      // out with the rest.
      if (i > from) {
        int n = connection_->Write(data + from, i - from);
        if (n < 0) return n;
        sent += n;
      }
      int n = connection_->Write(".", 1);
      if (n < 0) return n;
      sent += n;
      from = i;
    }
    linestart_ = data[i] == '\n';
  }
  if (count > from) {
    int n = connection_->Write(data + from, count - from);
    if (n < 0) return n;
    sent += n;
  }
  return sent;
}
