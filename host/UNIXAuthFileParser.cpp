#include "host/UNIXAuthFileParser.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <vector>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
#include "host/UNIXConfig.h"
#include "host/UNIXConfigParser.h"

namespace {

void EndWithSlash(String& directory) {
  if (directory.empty() || directory[directory.length() - 1] != '/') directory.cat('/');
}

}  // namespace

UNIXAuthFileParser::UNIXAuthFileParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config, int uid, int gid,
                                       const String& username, const String& homedirectory,
                                       String& datadirectory)
    : Parser(sorn, buffer),
      config_(config),
      uid_(uid),
      gid_(gid),
      username_(username),
      homedirectory_(homedirectory),
      datadirectory_(datadirectory),
      access_(1),
      authtype_(0),
      groups_(1),
      writable_(1),
      table_(nullptr),
      index_(nullptr) {
  SetupSupportedTags();
}

// TODO(database): close and delete table_ and index_ once XBaseTable and
// LMTIndexFile exist; until then they are never opened.
UNIXAuthFileParser::~UNIXAuthFileParser() {}

void UNIXAuthFileParser::SetupSupportedTags() {
  tags_.Insert(new Tag("AUTH", AuthTagAuth, AuthTagEndAuth));
  tags_.Insert(new Tag("/AUTH", AuthTagEndAuth, 0));
}

int UNIXAuthFileParser::GetNextLine(String& line) {
  return UNIXConfigParser::ReadLine(buffer_, line, &line_);
}

int UNIXAuthFileParser::GetNameValuePairs(Tag* tag) {
  int result = Parser::GetNameValuePairs(tag);
  if (result != ScanFailure) UNIXConfigParser::UnquoteValues(tag);
  return result;
}

int UNIXAuthFileParser::Parse() {
  if (!config_->workdir.empty()) {
    if (!OpenDatabase()) return 0;
    int found = 0, authorized = 0;
    String directory;
    if (table_ != nullptr && index_ != nullptr && !FindAuthorization(&found, &authorized, directory))
      return 0;
    if (found) {
      datadirectory_ = String();
      if (authorized) {
        directory.StripWhitespace();
        EndWithSlash(directory);
        datadirectory_ = directory;
      }
      return 1;
    }
  }
  if (gid_ >= 0) CollectGroups();
  if (!buffer_->Seek(0)) return 0;
  int result;
  while ((result = FindNextTag()) == ScanContinue) {
  }
  return result != ScanFailure;
}

void UNIXAuthFileParser::CollectGroups() {
  // Without the right to set the groups, getgroups would name the
  // process's own groups instead of the user's: none are taken then.
  if (initgroups(username_.chars(), (gid_t)gid_) != 0) return;
  int count = getgroups(0, nullptr);
  if (count <= 0) return;
  std::vector<gid_t> list((size_t)count);
  count = getgroups(count, list.data());
  for (int i = 0; i < count; i++) {
    struct group* entry = getgrgid(list[(size_t)i]);
    if (entry != nullptr && groups_.Find(entry->gr_name) == nullptr)
      groups_.Insert(new String(entry->gr_name));
  }
}

int UNIXAuthFileParser::ProcessKnownTag(Tag* tag) {
  if (tag->id() == AuthTagEndAuth) {
    access_ = 1;
    authtype_ = 0;
    return ScanDone;
  }
  NameValuePair* access = tag->Find("ACCESS");
  if (access != nullptr) {
    if (access->value.matches("allow")) access_ = 1;
    if (access->value.matches("deny")) access_ = 0;
  }
  NameValuePair* type = tag->Find("TYPE");
  if (type != nullptr) {
    if (type->value.matches("login")) authtype_ = 0;
    if (type->value.matches("group")) {
      if (gid_ < 0) {
        sorn_->Error(
            ConfigurationError(config_, "Group mode authorization is not supported in this version of Sorn"));
        return ScanFailure;
      }
      authtype_ = 1;
    }
  }
  return ScanDone;
}

int UNIXAuthFileParser::ProcessText(String& text) {
  String line = text.before("#");
  line.StripWhitespace();
  if (line.empty()) return ScanDone;
  int allow = access_;
  if (line[0] == '+' || line[0] == '-') {
    allow = line[0] == '+';
    line = line.from(1);
  }
  String name = line, directory;
  if (line.contains('=')) {
    name = line.before("=");
    directory = line.after("=");
  }
  name.StripWhitespace();
  directory.StripWhitespace();

  int match;
  if (authtype_ == 0 || uid_ == 0) {
    struct passwd* entry = getpwnam(name.chars());
    match = entry != nullptr && (int)entry->pw_uid == uid_;
  } else {
    match = groups_.Find(name.chars()) != nullptr;
  }
  if (!match) return ScanDone;

  if (allow) {
    ProcessMacros(directory, name);
    if (directory.empty())
      directory = homedirectory_;
    else if (!directory.matches('/', 0))
      directory = homedirectory_ + "/" + directory;
    EndWithSlash(directory);
    datadirectory_ = directory;
    if (uid_ == 0) {
      sorn_->Error(ConfigurationError(config_, "root may not be authorized to run Loomtext"));
      return ScanFailure;
    }
  } else {
    datadirectory_ = String();
  }
  if (writable_ && table_ != nullptr && index_ != nullptr && !RecordAuthorization(allow)) return ScanFailure;
  return ScanStop;
}

void UNIXAuthFileParser::ProcessMacros(String& directory, const String& name) {
  ExpandReferences(directory, [&](const String& reference) {
    if (reference.matches("loginid")) return username_;
    if (reference.matches("groupid")) return name;
    if (reference.matches("homedir")) return homedirectory_;
    return String();
  });
}

// TODO(database): open {workdir}/{basename}auth.dbf, creating it with the
// fields UID (N 5, no decimals), DATADIR (C 254), AUTHORIZED (C 1) when stat
// fails, else with mode 3 and, when that fails, mode 1 with writable_
// cleared; then the index {basename}auth.snx the same way (mode 1 unless
// writable_; created with the expression "d.uid" and key type 1). Every
// failure is a configuration error with the table's or the index's own
// text, and 0. Until the database layer exists nothing is opened and the
// file alone decides.
int UNIXAuthFileParser::OpenDatabase() {
  writable_ = 0;
  return 1;
}

// TODO(database): search index_ for uid_ printed with "%d"; on a hit
// XBaseTable::Goto the row (failing: the configuration error "The
// authorization database is corrupt", 0), *authorized when AUTHORIZED is
// "T" ignoring case, directory from DATADIR.
int UNIXAuthFileParser::FindAuthorization(int* found, int* authorized, String& directory) {
  *found = 0;
  *authorized = 0;
  directory = String();
  return 1;
}

// TODO(database): a new row with UID uid_, DATADIR datadirectory_ and
// AUTHORIZED "T" or "F"; XBaseTable::Append, then LMTIndexFile::Insert of its
// row number under the decimal text of uid_. Failures are configuration
// errors with the table's or the index's own text.
int UNIXAuthFileParser::RecordAuthorization(int) { return 1; }
