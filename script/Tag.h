// Tag: one known tag, as a template in a parser's table or as an instance
// read from a script. A Tag is its name, so it prints as itself.
#ifndef SORN_SCRIPT_TAG_H
#define SORN_SCRIPT_TAG_H

#include "core/NameValuePair.h"
#include "core/String.h"
#include "script/Variables.h"

class Tag : public String {
 public:
  // A template with no attributes.
  Tag(const char* name, int id, int closingid);
  // An instance made from a template: no attributes, no line.
  Tag(const Tag& model);
  // A full copy with every attribute, but not the line.
  explicit Tag(Tag* other);
  Tag& operator=(const Tag&) = delete;

  void AddNameValuePair(const String& name, const String& value, int required);
  NameValuePair* Find(const char* name) { return attributes_.Find(name); }
  // The value of the attribute, empty when it is absent.
  String Value(const char* name);

  int id() const { return id_; }
  int closingid() const { return closingid_; }
  long fileposition() const { return fileposition_; }
  int line() const { return line_; }
  void SetPosition(long position, int line) {
    fileposition_ = position;
    line_ = line;
  }
  NameValueList& attributes() { return attributes_; }
  // Where the variable this tag assigns was found the last time; a kept
  // instance (see TagCache) keeps it from one use to the next.
  NamedSlot* assignslot() { return &assignslot_; }

 private:
  int id_;
  int closingid_;
  long fileposition_;
  int line_;
  NameValueList attributes_;
  NamedSlot assignslot_;
};

inline const char* ElementName(const Tag* tag) { return tag->chars(); }

#endif
