// Variable: a named text value; VariableList and VariableTree hold them by
// name, compared without case.
#ifndef SORN_SCRIPT_VARIABLE_H
#define SORN_SCRIPT_VARIABLE_H

#include "core/List.h"
#include "core/SplayTree.h"
#include "core/String.h"

class Variable {
 public:
  Variable(const String& name, const String& value) : name_(name), value_(value) {}
  virtual ~Variable() {}
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

  virtual const String& name() const { return name_; }
  // The value text itself; derived classes may compute it on each call.
  virtual String& value() { return value_; }
  // Non-zero when the value was stored; otherwise error() tells why.
  virtual int SetValue(const String& value) {
    value_ = value;
    return 1;
  }
  virtual const String& error() const { return error_; }

 protected:
  String name_;
  String value_;
  String error_;
};

inline const char* ElementName(const Variable* v) { return v->name().chars(); }

class VariableList : public SearchableList<Variable> {
 public:
  explicit VariableList(int owns = 1) : SearchableList<Variable>(owns) {}
  // Sets an existing variable or appends a new one at the tail.
  void SetVariable(const char* name, const char* value);
};

class VariableTree : public SplayTree<Variable> {
 public:
  explicit VariableTree(int owns = 1) : SplayTree<Variable>(owns) {}

  // While watched, every insert and dump counts one change in *changes,
  // so that whoever remembers lookups in this tree knows to forget them.
  void Watch(unsigned long* changes) {
    changes_ = changes;
    watched_++;
  }
  void Unwatch() {
    if (watched_ > 0 && --watched_ == 0) changes_ = nullptr;
  }
  void Insert(Variable* element) override {
    SplayTree<Variable>::Insert(element);
    if (changes_ != nullptr) ++*changes_;
  }
  void Dump() override {
    SplayTree<Variable>::Dump();
    if (changes_ != nullptr) ++*changes_;
  }

  // Sets an existing variable or inserts a new one.
  void SetVariable(const char* name, const char* value);
  // Appends every element, in name order, at the tail of list, which must
  // not own them.
  void AppendToList(List<Variable>& list) const;

 private:
  unsigned long* changes_ = nullptr;
  int watched_ = 0;
};

#endif
