// Database and DatabaseView: the abstract database a script opens under an
// alias, and a view of it with its own cursor, index order and filter. The
// tag handlers see only these two classes; a driver derives from both.
//
// View operations (Skip, Go, Find, Add, Update, Delete, UnDelete, Open,
// SetFilter) return 0 failure (text in error()), 1 done, 2 end of file.
// Database operations return 1 success and 0 failure (text in error());
// Pack may also return 2 when its last step ends on an empty table.
#ifndef SORN_CORE_DATABASE_H
#define SORN_CORE_DATABASE_H

#include "core/List.h"
#include "core/String.h"

class ScriptParser;
class Variable;

enum ViewStatus { ViewFailure = 0, ViewDone = 1, ViewEndOfFile = 2 };
// The row numbers of Go that stand for the ends of the view.
enum ViewRow { ViewTop = -1, ViewBottom = -2 };

class DatabaseView {
 public:
  DatabaseView(ScriptParser* parser, const String& name) : parser_(parser), name_(name) {}
  virtual ~DatabaseView() {}
  DatabaseView(const DatabaseView&) = delete;
  DatabaseView& operator=(const DatabaseView&) = delete;

  // An empty text removes the filter. Moves to the first visible record.
  virtual int SetFilter(const String& text) = 0;
  // Writes a table describing this view's fields at path (a script path).
  virtual int RevealStructure(const String& path) = 0;
  virtual int Skip(long rows) = 0;
  // row: a record number, or ViewTop or ViewBottom.
  virtual int Go(long row) = 0;
  virtual int Find(const String& key, int exact) = 0;
  virtual int Add() = 0;
  virtual int Update() = 0;
  virtual int Delete() = 0;
  virtual int UnDelete() = 0;
  // The record variable of that name, or null.
  virtual Variable* Find(const String& name) = 0;
  virtual const String& name() const { return name_; }
  virtual const char* type() const = 0;
  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) { error_ = text; }
  virtual int Open() = 0;
  virtual int Close() = 0;

 protected:
  ScriptParser* parser_;
  String name_;
  String error_;
};

inline const char* ElementName(const DatabaseView* v) { return v->name().chars(); }

class Database {
 public:
  // The database does not own its views' list entries beyond what it adds:
  // every view in views() is destroyed with the database.
  Database(ScriptParser* parser, const String& name) : parser_(parser), name_(name), views_(1) {}
  virtual ~Database() {}
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  virtual int Open(const String& database, const String& user, const String& password) = 0;
  virtual int OpenIndexes(const String& list) = 0;
  virtual int SetPrimaryIndex(const String& name) = 0;
  virtual int Create(const String& path, const String& fields) = 0;
  virtual int CreateIndex(const String& file, const String& expression, const String& flags) = 0;
  virtual int Close() = 0;
  virtual int OpenView(const String& name, const String& query) = 0;
  virtual int RunQuery(const String& query) = 0;
  virtual int Pack() = 0;
  virtual int Reindex() = 0;
  virtual const String& name() const { return name_; }
  virtual const char* type() const = 0;
  virtual const String& error() const { return error_; }
  virtual void Error(const String& text) { error_ = text; }
  // Moves the view to the head of the list: it becomes the primary view.
  virtual void SetPrimaryView(DatabaseView* view) {
    if (views_.Seek(view) == nullptr) return;
    views_.Remove();
    views_.Insert(view, ListHead);
  }
  virtual DatabaseView* FindView(const String& name) { return views_.Find(name.chars()); }
  virtual DatabaseView* PrimaryView() { return views_.First(); }
  virtual SearchableList<DatabaseView>* views() { return &views_; }
  virtual void AddView(DatabaseView* view) { views_.Insert(view, ListTail); }
  // Unlinks the view; the caller destroys it.
  virtual void RemoveView(DatabaseView* view) {
    if (views_.Seek(view) != nullptr) views_.Remove();
  }
  ScriptParser* parser() const { return parser_; }

 protected:
  ScriptParser* parser_;
  String name_;
  String error_;
  SearchableList<DatabaseView> views_;
};

#endif
