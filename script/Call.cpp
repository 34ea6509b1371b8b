#include "script/Call.h"

#include <climits>
#include <cstdlib>

#include "core/Config.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/NetworkBuffer.h"
#include "core/NetworkConnection.h"
#include "core/NetworkManager.h"
#include "core/Sorn.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"

namespace {

const char kEOFInTag[] = "Unexpected EOF in tag";

// The pieces of a comma list, each stripped of white space; an empty list
// has none.
int SplitList(const String& list, String** pieces) {
  int maximum = list.freq(",") + 1;
  if (maximum < 1) maximum = 1;  // never: tells the optimizer the size is sane
  *pieces = new String[maximum];
  int count = split(list, *pieces, maximum, ",");
  for (int i = 0; i < count; i++) (*pieces)[i].StripWhitespace();
  return count;
}

}  // namespace

Call::Call(ScriptParser* parser)
    : parser_(parser),
      connection_(nullptr),
      buffer_(nullptr),
      variables_(1),
      kind_(CallPOST),
      fields_(1),
      files_(1),
      attributes_(0) {}

Call::~Call() {
  delete buffer_;
  delete connection_;
}

int Call::Error(const String& text) {
  error_ = text;
  return CallFailed;
}

// Values may hold any byte, NUL included, so they do not go through the
// C-string setter of the tree.
void Call::Set(const String& name, const String& value) {
  Variable* variable = variables_.Find(name);
  if (variable != nullptr)
    variable->SetValue(value);
  else
    variables_.Insert(new Variable(name, value));
}

int Call::Next() { return buffer_ != nullptr ? buffer_->GetNextChar() : -1; }

int Call::Connect(const String& method, const String& url, const String& fields, const String& files) {
  delete buffer_;
  buffer_ = nullptr;
  delete connection_;
  connection_ = nullptr;
  variables_.Dump();
  attributes_ = 0;
  kind_ = CallPOST;
  url_ = url;

  BuildVariableList(fields);
  if (BuildFileList(files) != 0) return CallFailed;
  int result;
  if (files_.Entries() == 0) {
    if (method.matches("HEAD"))
      kind_ = CallHEAD;
    else if (method.matches("GET"))
      kind_ = CallGET;
    result = OpenURLEncodedConnection();
  } else {
    result = OpenMultipartConnection();
  }
  if (result != 0) return result;

  Config* config = parser_->sorn()->config();
  // A time-out or a closed stream ends the headers quietly: whatever comes
  // after is read as the body.
  int count = 0;
  String line;
  for (;;) {
    int n = connection_->ReadLine(line, config->calltimeout);
    if (n <= 0) break;
    line.StripWhitespace();
    if (line.empty()) break;
    count++;
    Set("callreturnheader" + Decimal(count), line);
  }
  Set("callnumberofheaders", Decimal(count));
  buffer_ = new NetworkBuffer(connection_, config->calltimeout, config->callbuffersize);
  return 0;
}

void Call::BuildVariableList(const String& fields) {
  fields_.Dump();
  String* pieces = nullptr;
  int count = SplitList(fields, &pieces);
  Variables* vars = parser_->vars();
  for (int i = 0; i < count; i++) {
    String value = vars->Value(pieces[i]);
    Variable* field = fields_.Find(pieces[i]);
    if (field != nullptr)
      field->SetValue(value);
    else
      fields_.Insert(new Variable(pieces[i], value), ListTail);
  }
  delete[] pieces;
}

int Call::BuildFileList(const String& files) {
  files_.Dump();
  String* pieces = nullptr;
  int count = SplitList(files, &pieces);
  Sorn* sorn = parser_->sorn();
  int result = 0;
  for (int i = 0; i < count && result == 0; i++) {
    String value = parser_->vars()->Value(pieces[i]);
    String path, message;
    if (!sorn->ResolvePath(value, path, DataPath, message)) {
      result = Error(message);
      break;
    }
    long size = sorn->filemanager()->Length(path);
    if (size < 0) {
      result = Error("Unable to open '" + value + "': " + sorn->filemanager()->error());
      break;
    }
    files_.Insert(new CallFile(path, value, "unknown", pieces[i], size), ListTail);
  }
  delete[] pieces;
  return result;
}

int Call::OpenURLEncodedConnection() {
  String method, body, type;
  String url = url_;
  int first = 1;
  switch (kind_) {
    case CallHEAD:
      method = "HEAD";
      break;
    case CallGET:
      method = "GET";
      if (fields_.Entries() > 0 && !(url.length() > 0 && url[url.length() - 1] == '?')) url.cat('?');
      for (Variable* field = fields_.First(); field != nullptr; field = fields_.Next(), first = 0) {
        String name = field->name(), value = field->value();
        Sorn::EncodeAttribute(name);
        Sorn::EncodeAttribute(value);
        if (!first) url.cat('&');
        url.cat(name).cat('=').cat(value);
      }
      break;
    default:
      // Form bodies go out entity-encoded, not URL-encoded: peers written
      // for this engine decode them that way.
      method = "POST";
      type = "application/x-www-form-urlencoded";
      for (Variable* field = fields_.First(); field != nullptr; field = fields_.Next(), first = 0) {
        String name = field->name(), value = field->value();
        Sorn::EncodeEntities(name);
        Sorn::EncodeEntities(value);
        if (!first) body.cat('&');
        body.cat(name).cat('=').cat(value);
      }
      break;
  }
  NetworkManager* manager = parser_->sorn()->networkmanager();
  connection_ = manager->OpenURL(method, url, body, type, -1);
  if (connection_ == nullptr) return Error("Unable to open URL '" + url_ + "': " + manager->error());
  return 0;
}

int Call::OpenMultipartConnection() {
  String boundary("--------------------");
  for (int i = 0; i < 3; i++) boundary.cat(Decimal(rand()));

  // Counted exactly as the parts below are written.
  long length = 0;
  for (Variable* field = fields_.First(); field != nullptr; field = fields_.Next())
    length += boundary.length() + 4 + field->name().length() + 43 + field->value().length() + 2;
  for (CallFile* file = files_.First(); file != nullptr; file = files_.Next())
    length += boundary.length() + 4 + file->name.length() + file->filename.length() + 54 +
              file->type.length() + 18 + file->size + 2;
  length += boundary.length() + 6;
  // Content-Length is written from an int.
  if (length > INT_MAX) return Error("Unable to open URL '" + url_ + "': the files are too large to send");

  NetworkManager* manager = parser_->sorn()->networkmanager();
  connection_ = manager->OpenURL("POST", url_, "", "multipart/form-data; boundary=" + boundary, (int)length);
  if (connection_ == nullptr) return Error("Unable to open URL '" + url_ + "': " + manager->error());

  for (Variable* field = fields_.First(); field != nullptr; field = fields_.Next()) {
    connection_->Write("--" + boundary + "\r\n");
    connection_->Write("Content-Disposition: form-data; name=\"" + field->name() + "\"\r\n");
    connection_->Write(String("\r\n"));
    connection_->Write(field->value() + "\r\n");
  }
  for (CallFile* file = files_.First(); file != nullptr; file = files_.Next()) {
    connection_->Write("--" + boundary + "\r\n");
    connection_->Write("Content-Disposition: form-data; name=\"" + file->name + "\"; filename=\"" +
                       file->filename + "\"\r\n");
    connection_->Write("Content-Type: " + file->type + "\r\n");
    connection_->Write(String("\r\n"));
    if (SendFile(file) != 0) return CallFailed;
    connection_->Write(String("\r\n"));
  }
  connection_->Write("--" + boundary + "--\r\n");
  return 0;
}

// Writes no more than the size announced in Content-Length, so that a file
// that grew since it was measured cannot overrun the body.
int Call::SendFile(CallFile* file) {
  Sorn* sorn = parser_->sorn();
  File* input = sorn->filemanager()->Open(file->path, FileRead);
  if (input == nullptr)
    return Error("Unable to open '" + file->filename + "': " + sorn->filemanager()->error());
  int size = sorn->config()->contentbuffersize;
  if (size < 1) size = 1;
  char* block = new char[size];
  long left = file->size;
  while (left > 0) {
    int n = input->Read(block, (int)(left < size ? left : size));
    if (n <= 0) break;
    connection_->Write(block, n);
    left -= n;
  }
  delete[] block;
  delete input;
  return 0;
}

int Call::GetText(String& text) {
  for (;;) {
    int c = Next();
    if (c == -1) return text.empty() ? CallEnd : 0;
    if (c == '<') {
      buffer_->UnGetChar();
      return 0;
    }
    text.cat((char)c);
  }
}

int Call::EatWhitespace(String& source) {
  for (;;) {
    int c = Next();
    if (c == -1) return CallEnd;
    if (!IsWhite(c)) {
      buffer_->UnGetChar();
      return 0;
    }
    source.cat((char)c);
  }
}

int Call::EatHTMLComment(String& source) {
  int dashes = 0;
  for (;;) {
    int c = Next();
    if (c == -1) return Error("Unexpected EOF in HTML comment");
    source.cat((char)c);
    if (c == '-')
      dashes++;
    else if (c == '>' && dashes >= 2)
      return 0;
    else if (c != '>')
      dashes = 0;
  }
}

void Call::ClearAttributeVariables() {
  for (int i = 1; i <= attributes_; i++) {
    Set("callobjectattribute" + Decimal(i), "");
    Set("callobjectvalue" + Decimal(i), "");
  }
  attributes_ = 0;
}

int Call::GetNameValuePairs(String& source) {
  ClearAttributeVariables();
  int result;
  String name, value;
  while ((result = GetNextNameValuePair(source, name, value)) == 1) {
    attributes_++;
    Set("callobjectattribute" + Decimal(attributes_), name);
    Set("callobjectvalue" + Decimal(attributes_), value);
  }
  Set("callobjectnumattributes", Decimal(attributes_));
  return result == 0 ? 0 : CallFailed;
}

//   name | name=value | name='value' | name="value" | / > | >
int Call::GetNextNameValuePair(String& source, String& name, String& value) {
  name = "";
  value = "";
  EatWhitespace(source);
  int c = Next();
  if (c == -1) return Error(kEOFInTag);
  if (c == '/' || c == '>') {
    if (c == '/') {
      int after = Next();
      if (after == -1) return Error(kEOFInTag);
      if (after != '>')
        return Error("Found &quot;" + String().assign((char)after) + "&quot; in tag following /");
      source.cat('/');
    }
    source.cat('>');
    return 0;
  }
  while (c != -1 && c != '>' && c != '=' && !IsWhite(c)) {
    source.cat((char)c);
    name.cat((char)c);
    c = Next();
  }
  if (c == -1) return Error(kEOFInTag);
  if (IsWhite(c)) {
    source.cat((char)c);
    EatWhitespace(source);
    c = Next();
    if (c == -1) return Error(kEOFInTag);
  }
  if (c != '=') {
    // An attribute without a value stands for itself: <input checked>.
    if (c == '/') {
      int after = Next();
      if (after == -1) return Error(kEOFInTag);
      if (after != '>')
        return Error("Found &quot;" + String().assign((char)after) + "&quot; in tag following /");
      source.cat('/');
    }
    buffer_->UnGetChar();
    value = name;
    return 1;
  }
  source.cat('=');
  EatWhitespace(source);
  int quote = 0;
  for (;;) {
    c = Next();
    if (c == -1) return Error(kEOFInTag);
    if (quote == 0 && (c == '>' || IsWhite(c))) break;
    source.cat((char)c);
    value.cat((char)c);
    if (quote != 0 && c == quote) break;
    if (quote == 0 && (c == '"' || c == '\'')) quote = c;
  }
  if (c == '>')
    buffer_->UnGetChar();
  else if (IsWhite(c))
    source.cat((char)c);
  if (value.length() >= 2 && (value[0] == '"' || value[0] == '\'')) value = value.at(1, value.length() - 1);
  return 1;
}

int Call::FindNextElement() {
  String text;
  if (GetText(text) == CallEnd) return CallEnd;
  if (!text.empty()) {
    ClearAttributeVariables();
    Set("callobjecttype", "text");
    Set("callvalue", text);
    Set("callobjectnumattributes", "0");
    Set("callobjectelement", "");
    return CallElement;
  }
  int c = Next();
  if (c == -1) return CallEnd;

  //   <name attributes>   <!-- comment -->
  String source("<"), name;
  EatWhitespace(source);
  c = Next();
  while (c != -1 && c != '>' && !IsWhite(c)) {
    source.cat((char)c);
    name.cat((char)c);
    c = Next();
  }
  if (c == -1) return Error(kEOFInTag);
  if (name.search("!--") != 0) {
    buffer_->UnGetChar();
    if (GetNameValuePairs(source) != 0) return CallFailed;
  } else if (c != '>') {
    buffer_->UnGetChar();
    if (EatHTMLComment(source) != 0) return CallFailed;
  } else {
    source.cat('>');
  }
  Set("callobjecttype", "tag");
  Set("callvalue", source);
  Set("callobjectelement", name);
  return CallElement;
}
