#include "script/Tag.h"

Tag::Tag(const char* name, int id, int closingid)
    : String(name), id_(id), closingid_(closingid), fileposition_(0), line_(0), attributes_(1) {}

Tag::Tag(const Tag& model)
    : String(model), id_(model.id_), closingid_(model.closingid_), fileposition_(model.fileposition_),
      line_(0), attributes_(1) {}

Tag::Tag(Tag* other)
    : String(*other), id_(other->id_), closingid_(other->closingid_), fileposition_(other->fileposition_),
      line_(0), attributes_(1) {
  for (NameValuePair* p = other->attributes_.First(); p != nullptr; p = other->attributes_.Next())
    attributes_.Insert(new NameValuePair(*p), ListTail);
}

void Tag::AddNameValuePair(const String& name, const String& value, int required) {
  attributes_.Insert(new NameValuePair(name, value, required), ListTail);
}

String Tag::Value(const char* name) {
  NameValuePair* p = attributes_.Find(name);
  return p ? p->value : String();
}
