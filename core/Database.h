// Database and DatabaseView: the abstract database and a script's view of
// it. View operations return 0 failure, 1 done, 2 end of file.
#ifndef SORN_CORE_DATABASE_H
#define SORN_CORE_DATABASE_H

#include "core/List.h"
#include "core/String.h"

class Variable;

class DatabaseView {
 public:
  virtual ~DatabaseView() {}
  virtual const String& name() const = 0;
  virtual Variable* Find(const String& field) = 0;
};

inline const char* ElementName(const DatabaseView* v) { return v->name().chars(); }

class Database {
 public:
  virtual ~Database() {}
  virtual const String& name() const = 0;
  virtual SearchableList<DatabaseView>* views() = 0;
};

#endif
