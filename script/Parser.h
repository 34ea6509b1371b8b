// Parser: the generic scanner of tagged text. It walks a Buffer one
// character at a time, hands out runs of text and line ends, recognises
// tags from its table, reads their attributes, and skips forward to a given
// tag without executing what lies between. There is no tree: a tag is acted
// on as soon as its '>' has been read.
#ifndef SORN_SCRIPT_PARSER_H
#define SORN_SCRIPT_PARSER_H

#include "core/SplayTree.h"
#include "core/String.h"
#include "script/Tag.h"

class Buffer;
class File;
class Sorn;

typedef SplayTree<Tag> TagTable;

// Result codes of the scanner routines.
enum ScanResult {
  ScanFailure = 0,  // already reported
  ScanDone = 1,
  ScanContinue = 2,
  ScanStop = 3,  // GetNextLine: before '<'; attributes: '>' read; FindNextTag: end of script
  ScanEndOfFile = 4,
};

class Parser {
 public:
  Parser(Sorn* sorn, Buffer* buffer);
  virtual ~Parser();
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  virtual void SetupSupportedTags() = 0;
  virtual int EatWhitespace(String& text);
  virtual int EatUntil(String& text, char stop, const String& display);
  virtual int EatHTMLComment(String& text);
  virtual int GetNextLine(String& line);
  // Seeks to the start and scans to the end; false when a step failed.
  virtual int Parse();
  virtual int GetNameValuePairs(Tag* tag);
  virtual int GetNextNameValuePair(Tag* tag);
  virtual int GetValue(Tag* tag, const String& name, String& value);
  virtual int ValidateTag(Tag* model, Tag* instance);
  virtual int ProcessKnownTag(Tag* tag) = 0;
  virtual int ProcessUnknownTag(String& text) = 0;
  virtual int ProcessText(String& text) = 0;
  virtual int ProcessNewLine(String& line) = 0;
  virtual int ProcessEmptyValue(Tag* tag, const String& name, String& value);
  // A parser that keeps tags it has read may handle the tag at start itself:
  // 1 with *result set as FindNextTag returns it, 0 to read the text.
  virtual int ProcessCachedTag(long, int*) { return 0; }
  // Reads a known tag's attributes and checks them against the template.
  virtual int ReadTag(Tag* model, Tag* tag, long) { return GetNameValuePairs(tag) ? ValidateTag(model, tag) : 0; }
  // The template of a supported tag, or null.
  virtual Tag* FindTemplate(const String& name) { return tags_.Find(name); }

  // Scans until one known tag has been handled (2), the script stops (3),
  // the file ends (4) or a step fails (0).
  int FindNextTag();
  // Skips to a tag of targets at nesting depth 0; 1 with *found set (the
  // caller deletes it), 4 at the end of the file, 0 on failure.
  int FindTag(Tag** found, TagTable* targets);
  // Discards input up to and including target, ignoring case.
  int FindText(const String& target, const String& display);

  int line() const { return line_; }
  void SetLine(int line) { line_ = line; }
  Buffer* buffer() const { return buffer_; }
  Sorn* sorn() const { return sorn_; }
  TagTable& tags() { return tags_; }

 protected:
  // Reports a scanner syntax error straight to the page; always fatal.
  void ScanError(const String& message);
  void CountLine();
  // Reads a tag name after '<' into name and raw; the terminator comes back
  // in *terminator. 0 at the end of the file (reported).
  int ReadTagName(String& raw, String& name, int* terminator);
  enum { ScriptComment = 1, HTMLComment = 2, NoComment = 3 };
  // Reads the rest of a comment after its name: ScanFailure (reported),
  // ScriptComment, HTMLComment (its text in raw) or NoComment.
  int SkipComment(const String& name, int terminator, String& raw);

  Sorn* sorn_;
  File* file_;
  TagTable tags_;
  int line_;
  Buffer* buffer_;
};

#endif
