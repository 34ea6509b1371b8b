#include "host/UNIXAuthFileParser.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdio>

#include <vector>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
#include "data/LMTIndexFile.h"
#include "data/XBaseTable.h"
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

UNIXAuthFileParser::~UNIXAuthFileParser() {
  delete index_;
  delete table_;
}

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

int UNIXAuthFileParser::OpenDatabase() {
  List<XBaseField> fields(1);
  fields.Insert(new XBaseField(nullptr, "UID", XBaseNUMBER, 5, 0));
  fields.Insert(new XBaseField(nullptr, "DATADIR", XBaseCHAR, 254, 0));
  fields.Insert(new XBaseField(nullptr, "AUTHORIZED", XBaseCHAR, 1, 0));
  return UNIXConfigParser::OpenCache(sorn_, config_, "auth", fields, "d.uid", 1, &table_, &index_, &writable_);
}

int UNIXAuthFileParser::FindAuthorization(int* found, int* authorized, String& directory) {
  *found = 0;
  *authorized = 0;
  directory = String();
  char key[16];
  snprintf(key, sizeof key, "%d", uid_);
  long recno = 0;
  if (!index_->_Find(key, 1, &recno, 1)) {
    sorn_->Error(ConfigurationError(config_, index_->error()));
    return 0;
  }
  if (recno == 0) return 1;
  XBaseField* granted = table_->Field("AUTHORIZED");
  XBaseField* datadir = table_->Field("DATADIR");
  if (!table_->Goto(recno) || granted == nullptr || datadir == nullptr) {
    sorn_->Error(ConfigurationError(config_, "The authorization database is corrupt"));
    return 0;
  }
  *found = 1;
  String flag(granted->data());
  flag.StripWhitespace();
  *authorized = flag.matches("T");
  directory = datadir->data();
  return 1;
}

int UNIXAuthFileParser::RecordAuthorization(int allow) {
  XBaseField* id = table_->Field("UID");
  XBaseField* datadir = table_->Field("DATADIR");
  XBaseField* granted = table_->Field("AUTHORIZED");
  if (id == nullptr || datadir == nullptr || granted == nullptr) {
    sorn_->Error(ConfigurationError(config_, "The authorization database is corrupt"));
    return 0;
  }
  char key[16];
  snprintf(key, sizeof key, "%d", uid_);
  id->Set(key);
  datadir->Set(datadirectory_);
  granted->Set(allow ? "T" : "F");
  if (!table_->Append()) {
    sorn_->Error(ConfigurationError(config_, table_->error()));
    return 0;
  }
  if (!index_->Insert(table_->recno(), key)) {
    sorn_->Error(ConfigurationError(config_, index_->error()));
    return 0;
  }
  return 1;
}
