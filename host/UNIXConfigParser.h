// UNIXConfigParser: reads the configuration file: name=value lines with '#'
// comments and backslash protection, and the tags
//
//   <VIRTUALHOST host> ... </VIRTUALHOST>   keys of one virtual host
//   <CONTENT-TYPE MIMETYPE=type [EXTS=list] [DEFAULT]>
//   <COMMERCE-LIB METHOD=name LIBRARY=path>  (METAMETHOD for METHOD)
//   <PACKAGE CODE= NAME= DESCRIPTION= VERSION= PATH= [DEFAULTPATH=]>
//
// A host's settings are the keys ahead of the first block, the keys between
// the blocks ahead of its own, then its own block; reading stops at the end
// of that block. Keys behind the last block apply to hosts without one. The
// lines of other hosts' blocks are not read, but the tags in them are
// carried out, so declarations can't be scoped to a host.
//
// With workdir set, the keys of a host's block are cached in the table
// {workdir}/{basename}vh.dbf with the index {basename}vh.snx:
//
//   Field  Type       Width  Meaning
//   IP     character  96     the host, the index key ("d.ip", equal keys allowed)
//   NAME   character  20     configuration key
//   VALUE  character  254    configuration value, as written in the file
//
// A host with rows takes its keys from them, and the file is read only up to
// the first VIRTUALHOST tag. The first request for a host without rows
// writes them while it walks the host's block.
#ifndef SORN_HOST_UNIXCONFIGPARSER_H
#define SORN_HOST_UNIXCONFIGPARSER_H

#include "core/List.h"
#include "script/Parser.h"

class LMTIndexFile;
class UNIXConfig;
class XBaseTable;
class XBaseField;

enum ConfigTagId {
  ConfigTagVirtualHost = 1,
  ConfigTagEndVirtualHost = 2,
  ConfigTagContentType = 5,
  ConfigTagCommerceLib = 6,
  ConfigTagPackage = 7,
};

class UNIXConfigParser : public Parser {
 public:
  UNIXConfigParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config);
  ~UNIXConfigParser() override;

  void SetupSupportedTags() override;
  int GetNextLine(String& line) override;
  // VIRTUALHOST: everything up to '>', stripped, is one pair (none when
  // empty). Other tags: the standard attributes, a quoted value losing its
  // first and last character.
  int GetNameValuePairs(Tag* tag) override;
  // ScanStop ends the parse successfully; ScanFailure after reporting.
  int ProcessKnownTag(Tag* tag) override;
  int ProcessUnknownTag(String&) override { return ScanDone; }
  int ProcessText(String& text) override;
  int ProcessNewLine(String&) override { return ScanDone; }
  int ProcessVIRTUALHOST(Tag* tag);
  int ProcessEndVIRTUALHOST();
  int ProcessCONTENTTYPE(Tag* tag);
  int ProcessCOMMERCELIB(Tag* tag);
  int ProcessPACKAGE(Tag* tag);

  // 1 when the text holds only digits and dots (the empty text too).
  static int IsIPAddr(const String& text);
  // Opens, or creates with `fields` and the index key, the cache table
  // {workdir}/{basename}{suffix}.dbf and its index .snx, whichever of
  // *table and *index is still null. *writable is cleared when the table
  // could be opened only for reading. 1, or 0 after a configuration error
  // with the table's or the index's own text.
  static int OpenCache(Sorn* sorn, UNIXConfig* config, const char* suffix, List<XBaseField>& fields,
                       const char* keyexpression, long keyflags, XBaseTable** table, LMTIndexFile** index,
                       int* writable);
  // One line of a configuration or authorization file: ScanContinue for a
  // line or a line end, ScanStop in front of '<', ScanEndOfFile. *lines
  // counts the line ends read.
  static int ReadLine(Buffer* buffer, String& line, int* lines);
  // Removes the quotes around every quoted value of the tag.
  static void UnquoteValues(Tag* tag);

  // The cache of host keys. 1 on success, 0 after reporting.
  int OpenDatabase();

 private:
  // The first VIRTUALHOST tag: settles the host's name and takes its keys
  // from the cache when it holds them. ScanDone to go on with the block,
  // ScanStop when the parse is over, ScanFailure.
  int StartFirstHost();
  // Whether the index holds a row for virtualhost. 1 with *found set, or 0
  // after reporting.
  int FindHostRows(int* found);
  // SetConfigValue for each row of the host, from the first match in index
  // order. 1, or 0 after reporting.
  int ReadHostRows();
  // Appends one row of the host's block and indexes it. 1, or 0 after
  // reporting.
  int RecordHostValue(const String& name, const String& value);
  void ReportSyntaxError(const String& message);

  UNIXConfig* config_;
  int firsthost_;
  int inhost_;
  int skiphost_;
  int writable_;
  XBaseTable* table_;
  LMTIndexFile* index_;
};

#endif
