// XBaseIndex: one open index of a database: its file, the name under which
// the script asked for it, and its key expression, parsed from the file's
// header. Cursor operations take the file's read lock for their duration.
//
// Results are 1 for success and 0 for failure, with the file's text copied
// into error(). A cursor operation's record number is 0 when there is no
// such record, which is no failure.
#ifndef SORN_DATA_XBASEINDEX_H
#define SORN_DATA_XBASEINDEX_H

#include "core/File.h"
#include "core/String.h"
#include "data/LMTIndexFile.h"

class Expression;
class ScriptParser;

class XBaseIndex {
 public:
  XBaseIndex(ScriptParser* parser, const String& name);
  ~XBaseIndex();
  XBaseIndex(const XBaseIndex&) = delete;
  XBaseIndex& operator=(const XBaseIndex&) = delete;

  // Open reads the key expression from the header; Create writes the given
  // one there. Both leave the file open for reading and writing. The File
  // form of Create takes the file over, and deletes it on failure.
  int Open(const String& path, const String& displayname);
  int Create(const String& path, const String& displayname, const String& expression, long flags);
  int Create(File* file, const String& path, const String& displayname, const String& expression, long flags);
  int Close();

  int First(long* record);
  int Next(long* record);
  int Prev(long* record);
  int Last(long* record);
  int Find(const String& key, int exact, long* record);
  // Puts the cursor on the entry of this key and record; "Record is not in
  // index" when there is none.
  int Seek(const String& key, long record);
  int Insert(long record, const String& key);
  int Delete(long record, const String& key);

  const String& name() const { return name_; }
  const String& path() const { return path_; }
  const String& displayname() const { return displayname_; }
  const String& error() const { return error_; }
  // The key expression as the header holds it (tokenized), and parsed;
  // the parsed form is null while the index is closed.
  const String& expressiontext() const { return expressiontext_; }
  Expression* expression() const { return expression_; }
  long flags() const { return file_.flags(); }
  LMTIndexFile& file() { return file_; }

 private:
  // Parses the expression text into expression_; 0 with error() set.
  int ParseExpression();
  int Check(int result);

  ScriptParser* parser_;
  Expression* expression_;
  String name_;
  String path_;
  String displayname_;
  String expressiontext_;
  String error_;
  LMTIndexFile file_;
};

inline const char* ElementName(const XBaseIndex* index) { return index->name().chars(); }

#endif
