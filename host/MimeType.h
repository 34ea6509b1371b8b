// MimeType: the response type of scripts with one extension, declared by a
// CONTENT-TYPE tag; UNIXConfig keeps them in a tree keyed by extension,
// compared ignoring case.
#ifndef SORN_HOST_MIMETYPE_H
#define SORN_HOST_MIMETYPE_H

#include "core/String.h"

class MimeType {
 public:
  MimeType(const String& extension, const String& type) : extension(extension), type(type) {}

  String extension;  // without its leading '.'
  String type;
};

inline const char* ElementName(const MimeType* mime) { return mime->extension.chars(); }

#endif
