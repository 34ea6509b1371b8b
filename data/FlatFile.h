// FlatFile: reads a delimited text file record by record into script
// variables, and appends script variables to a file as one line.
//
// The file: plain text, one record a line, no header line.
//
//   | element   | form                                                     |
//   |-----------|----------------------------------------------------------|
//   | line end  | LF, CR, CR LF or LF CR; each pair is one line end; the   |
//   |           | last line needs none                                     |
//   | field     | separated by the delimiter, any text, by default a tab;  |
//   |           | the delimiter has no escape                              |
//   | escape    | \\ backslash, \n LF, \r CR, \x any other x itself; a      |
//   |           | backslash at the end of the file stays a backslash       |
//   | quotes    | none: quote characters are ordinary text                 |
//
// A line holds the fields in the order of the names in the import or
// export order. Reading holds one line in memory at a time.
#ifndef SORN_DATA_FLATFILE_H
#define SORN_DATA_FLATFILE_H

#include <string>

#include "core/String.h"
#include "script/Variable.h"

class Buffer;
class ScriptParser;

// Results of ImportNextRecord.
enum ImportResult {
  ImportFailed = 0,  // error() tells why; empty when already reported
  ImportRecord = 2,  // the record's variables and G.RECNO are set
  ImportFinished = 3,
};

class FlatFile {
 public:
  // The longest file name kept; longer names are cut.
  enum { kMaxFileName = 1023 };

  explicit FlatFile(ScriptParser* parser);
  // Takes over the parser, names, delimiters, orders and filter of other;
  // no open file, no error, and the record counter back at 1.
  explicit FlatFile(FlatFile* other);
  ~FlatFile();
  FlatFile(const FlatFile&) = delete;
  FlatFile& operator=(const FlatFile&) = delete;

  void SetImportFile(const String& name);
  void SetExportFile(const String& name);
  // A comma-separated list of variable names, blanks around each ignored.
  void SetImportOrder(const String& names);
  void SetExportOrder(const String& names);
  // An empty text leaves the delimiter as it was (a tab at first).
  void SetImportDelimiter(const String& delimiter);
  void SetExportDelimiter(const String& delimiter);
  // Where the filter expression stands in the script; 0 for none. The
  // line is the one that messages of the filter name.
  void SetWHEREExpressionOffset(long position, int line = 0);

  // Opens the import file from its first record. 1, or 0 with error().
  int StartImport();
  // Reads records until one passes the filter: an ImportResult.
  int ImportNextRecord();
  void EndImport();
  // Appends one line made of the export order's variables. 1, or 0 with
  // error().
  int ExportRecord();

  const String& error() const { return error_; }
  const VariableList& importorder() const { return importorder_; }
  const VariableList& exportorder() const { return exportorder_; }
  const String& importdelimiter() const { return importdelimiter_; }
  const String& exportdelimiter() const { return exportdelimiter_; }
  long whereposition() const { return whereposition_; }

  // Reads one line from buffer into line, escapes undone. 1 after a line
  // end; 0 at the end of the file, with what was read before it.
  static int ReadRecord(Buffer* buffer, std::string& line);
  // The text of one field as a line holds it: backslash, LF and CR escaped.
  static void EscapeField(const String& value, std::string& line);

 private:
  // 1 when the record passes the filter (or there is none); 0 when the
  // filter expression failed, which has been reported.
  int Accepts(int* accepted);

  ScriptParser* parser_;
  String importfile_;
  String exportfile_;
  String importpath_;
  int recordnumber_;
  VariableList importorder_;
  VariableList exportorder_;
  String importdelimiter_;
  String exportdelimiter_;
  Buffer* buffer_;
  long whereposition_;
  int whereline_;
  String error_;
  std::string line_;
};

#endif
