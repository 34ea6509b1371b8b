#include "host/UNIXConfigParser.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

#include <cstring>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/Sorn.h"
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

// TODO(database): close and delete table_ and index_ once XBaseTable and
// LMTIndexFile exist; until then they are never opened.
UNIXConfigParser::~UNIXConfigParser() {}

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
  if (!IsIPAddr(host) && config_->dnslookup) {
    String address;
    if (GetHostAddress(host, address) == 0) host = address;
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
  if (config_->dnslookup && !IsIPAddr(parameter) && GetHostAddress(parameter, host) != 0) {
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

// TODO(net): this stands in for NetworkManager::GetHostAddress (and
// IsIPAddr for IsIPAddress) until the network layer is merged; then both
// go through the host's network manager.
int UNIXConfigParser::GetHostAddress(const String& host, String& address) {
  if (strcmp(host.chars(), "localhost") == 0) {
    address = "127.0.0.1";
    return 0;
  }
  // A name with a NUL inside would be looked up cut short.
  if ((int)strlen(host.chars()) != host.length()) return -1;
  struct hostent* entry = gethostbyname(host.chars());
  if (entry == nullptr || entry->h_addrtype != AF_INET || entry->h_addr_list[0] == nullptr) return -1;
  struct in_addr first;
  memcpy(&first, entry->h_addr_list[0], sizeof first);
  address = inet_ntoa(first);
  return 0;
}

// TODO(database): open {workdir}/{basename}vh.dbf, creating it with the
// fields IP (C 96), NAME (C 20), VALUE (C 254) when stat fails, else with
// mode 3 and, when that fails, mode 1 with writable_ cleared; then the index
// {basename}vh.snx the same way (mode 1 unless writable_; created with the
// expression "d.ip" and key type 0). Every failure is a configuration error
// with the table's or the index's own text, and 0. Until the database layer
// exists nothing is opened and the parse reads the file as without workdir.
int UNIXConfigParser::OpenDatabase() {
  writable_ = 0;
  return 1;
}

// TODO(database): search index_ for virtualhost, first match; a failed
// search is a configuration error with the index's text and 0.
int UNIXConfigParser::FindHostRows(int* found) {
  *found = 0;
  return 1;
}

// TODO(database): from the first match in index order to the end of the
// index: XBaseTable::Goto the row (failing: the configuration error "The
// virtual host database is corrupt"), read IP, NAME and VALUE stripped of
// white space, stop at an IP other than virtualhost (ignoring case), else
// config_->SetConfigValue(NAME, VALUE).
int UNIXConfigParser::ReadHostRows() { return 1; }

// TODO(database): a new row with IP virtualhost, NAME name and VALUE value;
// XBaseTable::Append, then LMTIndexFile::Insert of its row number under
// virtualhost. Failures are configuration errors with the table's or the
// index's own text.
int UNIXConfigParser::RecordHostValue(const String&, const String&) { return 1; }
