#include "host/UNIXConfigParser.h"

#include <sys/stat.h>

#include <cstring>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/NetworkManager.h"
#include "core/Sorn.h"
#include "data/LMTIndexFile.h"
#include "data/XBaseTable.h"
#include "host/UNIXConfig.h"
#include "script/Variables.h"

UNIXConfigParser::UNIXConfigParser(Sorn* sorn, Buffer* buffer, UNIXConfig* config)
    : Parser(sorn, buffer),
      config_(config),
      firsthost_(1),
      inhost_(0),
      skiphost_(0),
      writable_(1),
      table_(nullptr),
      index_(nullptr) {
  SetupSupportedTags();
}

UNIXConfigParser::~UNIXConfigParser() {
  delete index_;
  delete table_;
}

void UNIXConfigParser::SetupSupportedTags() {
  tags_.Insert(new Tag("VIRTUALHOST", ConfigTagVirtualHost, ConfigTagEndVirtualHost));
  tags_.Insert(new Tag("/VIRTUALHOST", ConfigTagEndVirtualHost, 0));
  tags_.Insert(new Tag("CONTENT-TYPE", ConfigTagContentType, 0));
  tags_.Insert(new Tag("COMMERCE-LIB", ConfigTagCommerceLib, 0));
  tags_.Insert(new Tag("PACKAGE", ConfigTagPackage, 0));
}

// A line ends at a line end (handed back as a line of its own), at '<'
// (a tag follows) or at '#' (a comment runs to the line end). A backslash
// keeps itself and the character behind it. Carriage returns are text.
int UNIXConfigParser::ReadLine(Buffer* buffer, String& line, int* lines) {
  line = String();
  for (;;) {
    int c = buffer->GetNextChar();
    switch (c) {
      case -1:
        return ScanEndOfFile;
      case '<':
        buffer->UnGetChar();
        return ScanStop;
      case '\n':
        if (!line.empty()) {
          buffer->UnGetChar();
          return ScanContinue;
        }
        ++*lines;
        line.cat('\n');
        return ScanContinue;
      case '#':
        do {
          c = buffer->GetNextChar();
        } while (c != '\n' && c != -1);
        if (c == -1) return ScanEndOfFile;
        buffer->UnGetChar();
        break;
      case '\\':
        line.cat('\\');
        c = buffer->GetNextChar();
        if (c == -1) return ScanEndOfFile;
        if (c == '\n') ++*lines;
        line.cat((char)c);
        break;
      default:
        line.cat((char)c);
    }
  }
}

int UNIXConfigParser::GetNextLine(String& line) { return ReadLine(buffer_, line, &line_); }

void UNIXConfigParser::UnquoteValues(Tag* tag) {
  NameValueList& pairs = tag->attributes();
  for (NameValuePair* p = pairs.First(); p != nullptr; p = pairs.Next())
    if (p->value.matches('"', 0) && !p->value.empty()) p->value = p->value.at(1, p->value.length() - 1);
}

int UNIXConfigParser::GetNameValuePairs(Tag* tag) {
  if (tag->id() != ConfigTagVirtualHost) {
    int result = Parser::GetNameValuePairs(tag);
    if (result != ScanFailure) UnquoteValues(tag);
    return result;
  }
  String text;
  if (!EatUntil(text, '>', "&gt;")) return ScanFailure;
  text.truncate(text.length() - 1);
  text.StripWhitespace();
  if (!text.empty()) tag->AddNameValuePair(text, text, 0);
  return ScanStop;
}

void UNIXConfigParser::ReportSyntaxError(const String& message) {
  sorn_->Error(ConfigurationSyntaxError(config_, line_, message));
}

int UNIXConfigParser::ProcessText(String& text) {
  if (skiphost_) return ScanDone;
  String line(text);
  line.StripWhitespace();
  if (line.empty()) return ScanDone;
  if (!line.contains('=')) {
    ReportSyntaxError("Missing =");
    return ScanFailure;
  }
  String name = line.before("=");
  String value = line.after("=");
  name.StripWhitespace();
  value.StripWhitespace();
  if (config_->SetConfigValue(name, value) != 0) {
    ReportSyntaxError("'" + value + "' is not a valid value for " + name);
    return ScanFailure;
  }
  if (inhost_ && writable_ && table_ != nullptr && index_ != nullptr && !RecordHostValue(name, value))
    return ScanFailure;
  return ScanDone;
}

int UNIXConfigParser::ProcessKnownTag(Tag* tag) {
  switch (tag->id()) {
    case ConfigTagVirtualHost:
      return ProcessVIRTUALHOST(tag);
    case ConfigTagEndVirtualHost:
      return ProcessEndVIRTUALHOST();
    case ConfigTagContentType:
      return ProcessCONTENTTYPE(tag);
    case ConfigTagCommerceLib:
      return ProcessCOMMERCELIB(tag);
    case ConfigTagPackage:
      return ProcessPACKAGE(tag);
  }
  return ScanDone;
}

int UNIXConfigParser::StartFirstHost() {
  String& host = config_->virtualhost;
  if (host.empty()) host = sorn_->vars()->GetSystemVariableValue(config_->virtualhostvariable);
  // A request that names no host has only the keys ahead of the blocks.
  if (host.empty()) return ScanStop;
  NetworkManager* network = sorn_->networkmanager();
  if (!network->IsIPAddress(host) && config_->dnslookup) {
    String address;
    if (network->GetHostAddress(host, address) == 0) host = address;
  }
  if (config_->workdir.empty()) return ScanDone;
  if ((table_ == nullptr || index_ == nullptr) && !OpenDatabase()) return ScanFailure;
  int found = 0;
  if (!FindHostRows(&found)) return ScanFailure;
  if (!found) return ScanDone;
  return ReadHostRows() ? ScanStop : ScanFailure;
}

int UNIXConfigParser::ProcessVIRTUALHOST(Tag* tag) {
  if (firsthost_) {
    firsthost_ = 0;
    int result = StartFirstHost();
    if (result != ScanDone) return result;
  }
  if (inhost_) {
    ReportSyntaxError("Nested VIRTUALHOST tags are not allowed");
    return ScanFailure;
  }
  if (tag->attributes().Entries() != 1) {
    ReportSyntaxError("VIRTUALHOST expects exactly 1 parameter");
    return ScanFailure;
  }
  inhost_ = 1;
  const String& parameter = tag->attributes().First()->value;
  String host = parameter;
  if (config_->dnslookup && !IsIPAddr(parameter) && sorn_->networkmanager()->GetHostAddress(parameter, host) != 0) {
    sorn_->Error(ConfigurationError(config_, "Error resolving host '" + parameter + "'"));
    return ScanFailure;
  }
  if (!host.matches(config_->virtualhost.chars())) skiphost_ = 1;
  return ScanDone;
}

int UNIXConfigParser::ProcessEndVIRTUALHOST() {
  if (!inhost_) {
    ReportSyntaxError("/VIRTUALHOST without corresponding VIRTUALHOST");
    return ScanFailure;
  }
  inhost_ = 0;
  // The end of the request's own block: what follows is for other hosts.
  if (!skiphost_) return ScanStop;
  skiphost_ = 0;
  return ScanDone;
}

int UNIXConfigParser::ProcessCONTENTTYPE(Tag* tag) {
  NameValuePair* mimetype = tag->Find("MIMETYPE");
  if (mimetype == nullptr) {
    ReportSyntaxError("&lt;CONTENT-TYPE&gt; requires the MIMETYPE attribute to be specified");
    return ScanFailure;
  }
  const int isdefault = tag->Find("DEFAULT") != nullptr;
  if (isdefault) config_->defaultcontenttype = mimetype->value;
  NameValuePair* extensions = tag->Find("EXTS");
  if (extensions == nullptr) {
    if (isdefault) return ScanDone;
    ReportSyntaxError("&lt;CONTENT-TYPE&gt; requires the EXTS attribute to be specified");
    return ScanFailure;
  }
  config_->AddContentType(extensions->value, mimetype->value);
  return ScanDone;
}

int UNIXConfigParser::ProcessCOMMERCELIB(Tag* tag) {
  NameValuePair* method = tag->Find("METHOD");
  if (method == nullptr) method = tag->Find("METAMETHOD");
  if (method == nullptr) {
    ReportSyntaxError("&lt;COMMERCE-LIB&gt; requires the METHOD attribute to be specified");
    return ScanFailure;
  }
  NameValuePair* library = tag->Find("LIBRARY");
  if (library == nullptr) {
    ReportSyntaxError("&lt;COMMERCE-LIB&gt; requires the LIBRARY attribute to be specified");
    return ScanFailure;
  }
  sorn_->AddCommerceHandler(method->value, library->value);
  return ScanDone;
}

int UNIXConfigParser::ProcessPACKAGE(Tag* tag) {
  static const char* const kRequired[] = {"CODE", "NAME", "DESCRIPTION", "VERSION", "PATH"};
  for (const char* attribute : kRequired) {
    if (tag->Find(attribute) == nullptr) {
      ReportSyntaxError(String("&lt;PACKAGE&gt; requires the ") + attribute + " attribute to be specified");
      return ScanFailure;
    }
  }
  sorn_->AddPackage(tag->Value("CODE"), tag->Value("NAME"), tag->Value("DESCRIPTION"), tag->Value("VERSION"),
                    tag->Value("PATH"), tag->Value("DEFAULTPATH"));
  return ScanDone;
}

int UNIXConfigParser::IsIPAddr(const String& text) {
  for (int i = 0; i < text.length(); i++)
    if ((text[i] < '0' || text[i] > '9') && text[i] != '.') return 0;
  return 1;
}

int UNIXConfigParser::OpenDatabase() {
  List<XBaseField> fields(1);
  fields.Insert(new XBaseField(nullptr, "IP", XBaseCHAR, 96, 0));
  fields.Insert(new XBaseField(nullptr, "NAME", XBaseCHAR, 20, 0));
  fields.Insert(new XBaseField(nullptr, "VALUE", XBaseCHAR, 254, 0));
  return OpenCache(sorn_, config_, "vh", fields, "d.ip", 0, &table_, &index_, &writable_);
}

int UNIXConfigParser::OpenCache(Sorn* sorn, UNIXConfig* config, const char* suffix, List<XBaseField>& fields,
                                const char* keyexpression, long keyflags, XBaseTable** table,
                                LMTIndexFile** index, int* writable) {
  *writable = 1;
  String base = config->workdir + "/" + sorn->basename() + suffix;
  struct stat status;
  if (*table == nullptr) {
    *table = new XBaseTable(sorn);
    String path = base + ".dbf";
    int opened;
    if (stat(path.chars(), &status) != 0) {
      opened = (*table)->Create(path, path, String(), String(), fields);
    } else {
      opened = (*table)->Open(path, path, FileRead | FileWrite);
      // Files made by another user's engine can still be read.
      if (!opened) {
        *writable = 0;
        opened = (*table)->Open(path, path, FileRead);
      }
    }
    if (!opened) {
      sorn->Error(ConfigurationError(config, (*table)->error()));
      delete *table;
      *table = nullptr;
      return 0;
    }
  }
  if (*index == nullptr) {
    *index = new LMTIndexFile(sorn);
    String path = base + ".snx";
    int opened = stat(path.chars(), &status) == 0
                     ? (*index)->Open(path, path, *writable ? FileRead | FileWrite : FileRead)
                     : (*index)->Create(path, path, keyexpression, keyflags);
    if (!opened) {
      sorn->Error(ConfigurationError(config, (*index)->error()));
      delete *index;
      *index = nullptr;
      return 0;
    }
  }
  return 1;
}

int UNIXConfigParser::FindHostRows(int* found) {
  *found = 0;
  long recno = 0;
  if (!index_->_Find(config_->virtualhost.chars(), 1, &recno, 1)) {
    sorn_->Error(ConfigurationError(config_, index_->error()));
    return 0;
  }
  *found = recno != 0;
  return 1;
}

// The cursor stands on the first row of the host (FindHostRows); the rows
// of one host lie together in index order, so the first other IP ends them.
int UNIXConfigParser::ReadHostRows() {
  long recno = 0;
  if (!index_->_Find(config_->virtualhost.chars(), 1, &recno, 1)) {
    sorn_->Error(ConfigurationError(config_, index_->error()));
    return 0;
  }
  while (recno != 0) {
    if (!table_->Goto(recno)) {
      sorn_->Error(ConfigurationError(config_, "The virtual host database is corrupt"));
      return 0;
    }
    XBaseField* ip = table_->Field("IP");
    XBaseField* name = table_->Field("NAME");
    XBaseField* value = table_->Field("VALUE");
    if (ip == nullptr || name == nullptr || value == nullptr) {
      sorn_->Error(ConfigurationError(config_, "The virtual host database is corrupt"));
      return 0;
    }
    String host(ip->data()), key(name->data()), text(value->data());
    host.StripWhitespace();
    key.StripWhitespace();
    text.StripWhitespace();
    if (!host.matches(config_->virtualhost.chars())) break;
    config_->SetConfigValue(key, text);
    if (!index_->_Next(&recno, 1)) break;
  }
  return 1;
}

int UNIXConfigParser::RecordHostValue(const String& name, const String& value) {
  XBaseField* ip = table_->Field("IP");
  XBaseField* key = table_->Field("NAME");
  XBaseField* text = table_->Field("VALUE");
  if (ip == nullptr || key == nullptr || text == nullptr) {
    sorn_->Error(ConfigurationError(config_, "The virtual host database is corrupt"));
    return 0;
  }
  ip->Set(config_->virtualhost);
  key->Set(name);
  text->Set(value);
  if (!table_->Append()) {
    sorn_->Error(ConfigurationError(config_, table_->error()));
    return 0;
  }
  if (!index_->Insert(table_->recno(), config_->virtualhost.chars())) {
    sorn_->Error(ConfigurationError(config_, index_->error()));
    return 0;
  }
  return 1;
}
