// UNIXAuthFileParser: decides from the authorization file whether one user
// may run scripts and where that user's data lies. Lines and comments are
// those of the configuration file. A line is
//
//   [+|-]name[=directory]
//
// '+' allows and '-' denies; without a sign the line takes the default of
// its block, <AUTH ACCESS=allow|deny TYPE=login|group> ... </AUTH>, which
// outside a block is allow by login. The name is a login, or in group mode
// a group of the user; the first line that names the user decides. The
// directory may hold &[loginid], &[groupid] and &[homedir]; empty, it is
// the home directory, and a relative one lies below it.
//
// With workdir set, each decision is cached in the table
// {workdir}/{basename}auth.dbf with the index {basename}auth.snx:
//
//   Field       Type                 Width  Meaning
//   UID         numeric, 0 decimals  5      the user id, the index key ("d.uid", unique)
//   DATADIR     character            254    the user's data directory
//   AUTHORIZED  character            1      "T" or "F"
//
// A user with a row is decided by it and the file is not read.
#ifndef SORN_HOST_UNIXAUTHFILEPARSER_H
#define SORN_HOST_UNIXAUTHFILEPARSER_H

#include "core/SplayTree.h"
#include "script/Parser.h"

class LMTIndexFile;
class UNIXConfig;
class XBaseTable;

enum AuthTagId { AuthTagAuth = 1, AuthTagEndAuth = 2 };

class UNIXAuthFileParser : public Parser {
 public:
  // uid and gid are the script owner's; gid -1 when the owner is unknown,
  // which rules out group mode. datadirectory is what the decision writes.
  UNIXAuthFileParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config, int uid, int gid, const String& username,
                     const String& homedirectory, String& datadirectory);
  ~UNIXAuthFileParser() override;

  void SetupSupportedTags() override;
  // The cached decision, else the file up to the first line that names the
  // user. 1 on success (also when nothing names the user), 0 after
  // reporting.
  int Parse() override;
  int GetNextLine(String& line) override;
  int GetNameValuePairs(Tag* tag) override;
  int ProcessKnownTag(Tag* tag) override;
  int ProcessUnknownTag(String&) override { return ScanDone; }
  // ScanStop at the line that decides, ScanDone to read on, ScanFailure.
  int ProcessText(String& text) override;
  int ProcessNewLine(String&) override { return ScanDone; }
  // Expands &[loginid], &[groupid] (name, the line's name) and &[homedir],
  // ignoring case; other references expand to nothing.
  void ProcessMacros(String& directory, const String& name);

  // The cache of decisions. 1 on success, 0 after reporting.
  int OpenDatabase();

 private:
  // The names of the user's groups, from initgroups and getgroups.
  void CollectGroups();
  // The cached row of uid, if any. 1 with *found, *authorized and
  // directory set, or 0 after reporting.
  int FindAuthorization(int* found, int* authorized, String& directory);
  // Appends the decision for uid and indexes it. 1, or 0 after reporting.
  int RecordAuthorization(int authorized);

  UNIXConfig* config_;
  int uid_;
  int gid_;
  const String& username_;
  const String& homedirectory_;
  String& datadirectory_;
  int access_;    // 1 allow, 0 deny
  int authtype_;  // 0 login, 1 group
  SplayTree<String> groups_;
  int writable_;
  XBaseTable* table_;
  LMTIndexFile* index_;
};

#endif
