// XBaseDatabaseView: the one view of an xBase database. It walks the table
// in the order of the primary index (the head of the database's index
// list) or, with no index open, in record order, and shows only records for
// which the filter holds. Deleted records are not hidden.
//
// The current record's fields are variables in the view's own tree (see
// XBaseVariable.h); key and filter expressions are evaluated with that tree
// searched first, so that they see this record's fields under their plain
// names whatever other databases are open.
//
// View operations return 0 failure (text in error()), 1 done, 2 end of
// file, and set the variable eof to "1" at end of file and "0" otherwise.
#ifndef SORN_DATA_XBASEDATABASEVIEW_H
#define SORN_DATA_XBASEDATABASEVIEW_H

#include "core/Database.h"
#include "core/List.h"
#include "data/XBaseIndex.h"
#include "data/XBaseTable.h"
#include "script/Variable.h"

class Expression;

class XBaseDatabaseView : public DatabaseView {
 public:
  XBaseDatabaseView(ScriptParser* parser, const String& name, XBaseTable* table,
                    SearchableList<XBaseIndex>* indexes);
  ~XBaseDatabaseView() override;

  int SetFilter(const String& text) override;
  int RevealStructure(const String& path) override;
  int Skip(long rows) override;
  int Go(long row) override;
  int Find(const String& key, int exact) override;
  int Add() override;
  int Update() override;
  int Delete() override;
  int UnDelete() override;
  Variable* Find(const String& name) override { return variables_.Find(name.chars()); }
  const char* type() const override { return "xbase3"; }
  int Open() override;
  // Empties the record variables. 1.
  int Close() override;

  // Rebuilds the record variables over the fields of table; eof reads "1".
  void SetupCurrentRecord(XBaseTable* table);
  void SetEOF(int flag);
  // Evaluates expression over the current record: 1 with result set, or 0.
  int Resolve(Expression* expression, String& result);
  // The key of the current record in index: 1 with key set, or 0 with the
  // view's error set.
  int Key(XBaseIndex* index, String& key);
  const String& filter() const { return filtertext_; }
  VariableTree& variables() { return variables_; }

 private:
  XBaseIndex* PrimaryIndex() { return indexes_->First(); }
  // The next (forward) or previous record in view order into *record, 0 at
  // the end. 0 on failure.
  int Advance(int forward, long* record);
  // *passes: whether the current record passes the filter. 0 on failure.
  int Passes(int* passes);
  // Goto with the table's text copied on failure.
  int Goto(long record);
  // From the current record, moves forward or backward until a record
  // passes the filter. Status 1, 2 or 0.
  int SeekVisible(int forward);
  int Finish(int status);

  XBaseTable* table_;
  SearchableList<XBaseIndex>* indexes_;
  String filtertext_;
  Expression* filter_;
  VariableTree variables_;
};

#endif
