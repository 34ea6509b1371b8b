// XBaseDatabase: the "xbase3" driver. One table, its memo file, a list of
// open indexes and one view under the database's own name. The head of the
// index list is the primary index, which orders the view; with no index the
// view goes in record order.
//
// Operations return 1 for success and 0 for failure, with the text in
// error(); Pack returns the status of its last step, the view's move to the
// top, so 2 there means an empty table and is no failure.
//
// Field specifications, as SnCREATE passes them: comma-separated entries
// "name type", names upper-cased, at most 10 characters, each used once:
//
// | Type        | Stored as | Length              | Decimals |
// |-------------|-----------|---------------------|----------|
// | CHAR(n)     | CHAR      | n, at most 254      | 0        |
// | NUMBER      | NUMBER    | 19                  | 0        |
// | NUMBER(n)   | NUMBER    | n                   | 0        |
// | NUMBER(n.d) | NUMBER    | n + 1 + d (d not 0) | d        |
// | DATE        | DATE      | 8                   | 0        |
// | BOOL        | BOOL      | 1                   | 0        |
// | MEMO        | MEMO      | 10                  | 0        |
//
// A NUMBER's stored length must stay below 20.
#ifndef SORN_DATA_XBASEDATABASE_H
#define SORN_DATA_XBASEDATABASE_H

#include "core/Database.h"
#include "core/List.h"
#include "data/XBaseDatabaseView.h"
#include "data/XBaseIndex.h"
#include "data/XBaseTable.h"
#include "data/XBaseTemporaryFile.h"

class Sorn;

class XBaseDatabase : public Database {
 public:
  XBaseDatabase(ScriptParser* parser, const String& name);
  ~XBaseDatabase() override;

  int Open(const String& database, const String& user, const String& password) override;
  // Replaces the open indexes by those of the comma-separated list (which
  // may be wrapped in double quotes); the first becomes primary.
  int OpenIndexes(const String& list) override;
  int SetPrimaryIndex(const String& name) override;
  int Create(const String& path, const String& fields) override;
  // flags: comma-separated words ascending, descending, unique, nounique,
  // string; others are ignored.
  int CreateIndex(const String& file, const String& expression, const String& flags) override;
  int Close() override;
  int OpenView(const String& name, const String& query) override;
  int RunQuery(const String& query) override;
  // Rewrites table, memo and indexes without the deleted records.
  int Pack() override;
  // Rebuilds every open index from the table.
  int Reindex() override;
  const char* type() const override { return "xbase3"; }
  void RemoveView(DatabaseView* view) override;

  // Builds the fields of a FIELDS list (name TYPE(size), ...) into fields: 1, or 0 with error
  // set and fields left as far as they got.
  static int ParseFieldSpecification(const String& text, List<XBaseField>& fields, String& error);
  static long IndexFlags(const String& words);

  XBaseTable* table() { return &table_; }
  SearchableList<XBaseIndex>* indexes() { return &indexes_; }
  XBaseDatabaseView* view() { return view_; }

 private:
  Sorn* sorn() const;
  // Makes a temporary file in the place for temporaries, named after
  // displayname, and records it with its target in temporaries.
  int NewTemporary(const String& displayname, const String& target, File** file,
                   List<XBaseTemporaryFile>& temporaries);
  void DeleteTemporaries(List<XBaseTemporaryFile>& temporaries);
  // Renames every temporary over its target, stopping at the first failure.
  int RenameTemporaries(List<XBaseTemporaryFile>& temporaries);
  // Opens every index again from its saved path.
  int ReopenIndexes();
  // The view's move to the top after a change; 2 counts as success.
  int Top();
  // Pack's copy of the live records into the new files.
  int CopyLiveRecords(XBaseTable* target, List<XBaseIndex>& targetindexes);

  XBaseTable table_;
  SearchableList<XBaseIndex> indexes_;
  XBaseDatabaseView* view_;
  String path_;
  String givenpath_;
};

#endif
