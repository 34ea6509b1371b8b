// Feeds text through the URL and entity encoders and decoders, checking
// that encoding then decoding gives the text back.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/Sorn.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  String text((const char*)data, (int)size);
  String work(text);
  Sorn::DecodeAttribute(work);
  work = text;
  Sorn::DecodeEntities(work);
  if (memchr(data, 0, size) != nullptr) return 0;
  work = text;
  Sorn::EncodeAttribute(work);
  Sorn::DecodeAttribute(work);
  if (!(work == text)) abort();
  work = text;
  Sorn::EncodeEntities(work);
  Sorn::DecodeEntities(work);
  if (!(work == text)) abort();
  return 0;
}
