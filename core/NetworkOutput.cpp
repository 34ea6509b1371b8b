#include "core/NetworkOutput.h"

#include "core/NetworkConnection.h"

NetworkOutput::~NetworkOutput() { Flush(); }

int NetworkOutput::DoWrite(const char* data, int count) {
  if (count == 0) return 0;
  return connection_->Write(data, count);
}
