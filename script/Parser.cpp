#include "script/Parser.h"

#include <cctype>
#include <cstring>

#include "core/Buffer.h"
#include "core/Error.h"
#include "core/File.h"
#include "core/Keys.h"
#include "core/Sorn.h"

Parser::Parser(Sorn* sorn, Buffer* buffer) : sorn_(sorn), file_(nullptr), tags_(1), line_(1), buffer_(buffer) {}

Parser::~Parser() { delete file_; }

void Parser::ScanError(const String& message) {
  sorn_->Error(SyntaxError(buffer_->name(), line_, message));
}

void Parser::CountLine() {
  if (!buffer_->inmacro()) line_++;
}

int Parser::Parse() {
  if (!buffer_->Seek(0)) return 0;
  int result;
  while ((result = FindNextTag()) == ScanContinue) {
  }
  return result != ScanFailure;
}

int Parser::GetNextLine(String& line) {
  line = String();
  for (;;) {
    int c = buffer_->GetNextChar();
    switch (c) {
      case -1:
        return ScanEndOfFile;
      case '<':
        buffer_->UnGetChar();
        return ScanStop;
      case '\r':
        if (!line.empty()) {
          buffer_->UnGetChar();
          return ScanContinue;
        }
        line.cat('\r');
        c = buffer_->GetNextChar();
        if (c == '\n') {
          line.cat('\n');
          CountLine();
        } else if (c != -1) {
          buffer_->UnGetChar();
        }
        return ScanContinue;
      case '\n':
        if (!line.empty()) {
          buffer_->UnGetChar();
          return ScanContinue;
        }
        line.cat('\n');
        CountLine();
        return ScanContinue;
      case '\\':
        // The backslash stays in the text and hides the next character.
        line.cat('\\');
        c = buffer_->GetNextChar();
        if (c == -1) return ScanEndOfFile;
        if (c == '\n') CountLine();
        line.cat((char)c);
        break;
      default:
        line.cat((char)c);
    }
  }
}

int Parser::EatWhitespace(String& text) {
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) return ScanEndOfFile;
    if (!IsWhite(c)) {
      buffer_->UnGetChar();
      return ScanDone;
    }
    if (c == '\n') CountLine();
    text.cat((char)c);
  }
}

int Parser::EatUntil(String& text, char stop, const String& display) {
  int quoted = 0;
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) {
      ScanError("Unexpected end of file while looking for '" + display + "'");
      return ScanFailure;
    }
    if (c == '\n') CountLine();
    text.cat((char)c);
    if (c == '"')
      quoted = !quoted;
    else if (c == stop && !quoted)
      return ScanDone;
  }
}

// <!-- ... -->: ends at a '>' once two dashes have run together before it.
int Parser::EatHTMLComment(String& text) {
  int dashes = 0;
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) {
      ScanError("Unexpected end of file while looking for '--&gt;'");
      return ScanFailure;
    }
    if (c == '\n') CountLine();
    text.cat((char)c);
    if (c == '-') {
      dashes++;
    } else if (c == '>') {
      if (dashes >= 2) return ScanDone;
    } else {
      dashes = 0;
    }
  }
}

int Parser::FindText(const String& target, const String& display) {
  int length = target.length();
  if (length == 0) return ScanDone;
  String kept;
  int matched = 0;
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) {
      ScanError("Unexpected end of file while looking for '" + display + "'");
      return ScanFailure;
    }
    if (c == '\n') CountLine();
    kept.cat((char)c);
    if (UpperASCII(c) == UpperASCII((unsigned char)target[matched])) {
      if (++matched == length) return ScanDone;
      continue;
    }
    // A mismatch: the longest tail of what was kept that starts the target
    // (compared exactly) is where matching resumes.
    matched = 0;
    for (int start = 1; start < kept.length(); start++) {
      int n = kept.length() - start;
      if (n < length && memcmp(kept.chars() + start, target.chars(), n) == 0) {
        matched = n;
        break;
      }
    }
    kept = kept.from(kept.length() - matched);
    if (matched == 0) kept = String();
  }
}

int Parser::ReadTagName(String& raw, String& name, int* terminator) {
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) {
      ScanError("Unexpected end of file in tag");
      return ScanFailure;
    }
    if (c == '>' || IsWhite(c)) {
      *terminator = c;
      return ScanDone;
    }
    raw.cat((char)c);
    name.cat((char)c);
  }
}

// <## ... ##> and <SnCOMMENT> ... </SnCOMMENT> vanish; <!-- ... --> is
// read whole into raw. For any other tag the terminator is put back.
int Parser::SkipComment(const String& name, int terminator, String& raw) {
  if (name.search("##") == 0) {
    if (terminator == '>') return ScriptComment;
    buffer_->UnGetChar();
    if (!FindText("##>", "##&gt;")) return ScanFailure;
    return ScriptComment;
  }
  if (name.search("!--") == 0) {
    if (terminator == '>') {
      raw.cat('>');
      return HTMLComment;
    }
    buffer_->UnGetChar();
    if (!EatHTMLComment(raw)) return ScanFailure;
    return HTMLComment;
  }
  buffer_->UnGetChar();
  if (!name.matches("SnCOMMENT")) return NoComment;
  if (!FindText("</SnCOMMENT>", "&lt;/SnCOMMENT&gt;")) return ScanFailure;
  return ScriptComment;
}

int Parser::FindNextTag() {
  String line;
  for (;;) {
    int r = GetNextLine(line);
    if (!line.empty()) {
      int p = (line[0] == '\r' || line[0] == '\n') ? ProcessNewLine(line) : ProcessText(line);
      if (p != ScanDone) return p;
    }
    if (r == ScanContinue) continue;
    if (r != ScanStop) return r;

    long start = buffer_->CurrentFilePosition();
    int cached;
    if (ProcessCachedTag(start, &cached)) return cached;
    buffer_->GetNextChar();  // the '<'
    String raw("<");
    if (EatWhitespace(raw) == ScanEndOfFile) continue;
    String name;
    int t;
    if (!ReadTagName(raw, name, &t)) return ScanFailure;
    int comment = SkipComment(name, t, raw);
    if (comment == ScanFailure) return ScanFailure;
    if (comment == HTMLComment) {
      int p = ProcessUnknownTag(raw);
      if (p != ScanDone) return p;
    }
    if (comment != NoComment) continue;

    Tag* model = FindTemplate(name);
    if (model != nullptr) {
      Tag* tag = new Tag(*model);
      int result = ReadTag(model, tag, start);
      if (result) {
        result = ProcessKnownTag(tag);
        result = result == ScanFailure ? ScanFailure : result == ScanStop ? ScanStop : ScanContinue;
      }
      delete tag;
      return result;
    }
    if (!EatUntil(raw, '>', "&gt;")) return ScanFailure;
    int p = ProcessUnknownTag(raw);
    if (p != ScanDone) return p;
  }
}

int Parser::GetNameValuePairs(Tag* tag) {
  int result;
  while ((result = GetNextNameValuePair(tag)) == ScanContinue) {
  }
  return result;
}

int Parser::GetNextNameValuePair(Tag* tag) {
  String white;
  String eof = "Unexpected end of file in &lt;" + *tag + "&gt;";
  if (EatWhitespace(white) == ScanEndOfFile) {
    ScanError(eof);
    return ScanFailure;
  }
  int c = buffer_->GetNextChar();
  if (c == '>') return ScanStop;
  if (c == -1) return ScanFailure;

  String name;
  name.cat((char)c);
  int t;
  for (;;) {
    t = buffer_->GetNextChar();
    if (t == -1 || t == '>' || t == '=' || IsWhite(t)) break;
    name.cat((char)t);
  }
  if (IsWhite(t)) {
    if (t == '\n') CountLine();
    if (EatWhitespace(white) == ScanEndOfFile) {
      ScanError(eof);
      return ScanFailure;
    }
    t = buffer_->GetNextChar();
  }
  if (!IsAlphaASCII((unsigned char)name[0]) && name[0] != '_') {
    ScanError("Attribute '" + name + "' begins with a non-alpha character");
    return ScanFailure;
  }
  String value;
  switch (t) {
    case -1:
      ScanError(eof);
      return ScanFailure;
    case '>':
      if (!ProcessEmptyValue(tag, name, value)) return ScanFailure;
      tag->AddNameValuePair(name, value, 0);
      return ScanStop;
    case '=': {
      if (EatWhitespace(white) == ScanEndOfFile) {
        ScanError(eof);
        return ScanFailure;
      }
      int result = GetValue(tag, name, value);
      if (result) tag->AddNameValuePair(name, value, 0);
      return result;
    }
    default:
      if (!ProcessEmptyValue(tag, name, value)) return ScanFailure;
      buffer_->UnGetChar();
      tag->AddNameValuePair(name, value, 0);
      return ScanContinue;
  }
}

int Parser::GetValue(Tag* tag, const String&, String& value) {
  int quoted = 0;
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) {
      ScanError("Unexpected end of file in &lt;" + *tag + "&gt;");
      return ScanFailure;
    }
    if (c == '"') {
      quoted = !quoted;
    } else if (!quoted) {
      if (c == '/') {
        int next = buffer_->GetNextChar();
        if (next != '>') {
          String found;
          if (next != -1) found.cat((char)next);
          ScanError("Expected &gt;, found '" + found + "'");
          return ScanFailure;
        }
        return ScanContinue;
      }
      if (c == '>') return ScanStop;
      if (IsWhite(c)) {
        if (c == '\n') CountLine();
        return ScanContinue;
      }
    }
    value.cat((char)c);
  }
}

int Parser::ProcessEmptyValue(Tag*, const String& name, String& value) {
  value = name;
  return 1;
}

int Parser::ValidateTag(Tag* model, Tag* instance) {
  NameValueList& wanted = model->attributes();
  for (NameValuePair* p = wanted.First(); p != nullptr; p = wanted.Next()) {
    if (instance->Find(p->name) != nullptr) continue;
    if (p->mark & 1) {
      ScanError(*instance + " requires the " + p->name + " attribute to be specified");
      return ScanFailure;
    }
    instance->AddNameValuePair(p->name, p->value, 0);
  }
  return ScanDone;
}

int Parser::FindTag(Tag** found, TagTable* targets) {
  int depth = 0;
  for (;;) {
    int c = buffer_->GetNextChar();
    if (c == -1) return ScanEndOfFile;
    if (c == '\n') CountLine();
    if (c != '<') continue;

    String raw("<");
    if (EatWhitespace(raw) == ScanEndOfFile) return ScanEndOfFile;
    String name;
    int t;
    if (!ReadTagName(raw, name, &t)) return ScanFailure;
    // A skip eats HTML comments too: tags inside them never count.
    int comment = SkipComment(name, t, raw);
    if (comment == ScanFailure) return ScanFailure;
    if (comment != NoComment) continue;

    Tag* model = targets->Find(name);
    if (model == nullptr) continue;
    if (model->closingid() > 0) {
      NameValueList& wanted = model->attributes();
      if (wanted.Entries() == 0) {
        depth++;
        if (!EatUntil(raw, '>', "&gt;")) return ScanFailure;
      } else {
        Tag instance(*model);
        if (!GetNameValuePairs(&instance)) return ScanFailure;
        bool all = true;
        for (NameValuePair* p = wanted.First(); p != nullptr; p = wanted.Next())
          if (instance.Find(p->name) == nullptr) all = false;
        if (all) depth++;
      }
    } else if (depth > 0) {
      if (model->closingid() == 0) {
        depth--;
        if (!EatUntil(raw, '>', "&gt;")) return ScanFailure;
      }
    } else {
      Tag* tag = new Tag(*model);
      if (!GetNameValuePairs(tag)) {
        delete tag;
        return ScanFailure;
      }
      *found = tag;
      return ScanDone;
    }
  }
}
