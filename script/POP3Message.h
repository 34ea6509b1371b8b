// POP3Message: one message of a maildrop. Its lines go to a file of its own
// as they arrive (headers and body, LF line ends), and the header lines
// before the first empty line are kept by name.
#ifndef SORN_SCRIPT_POP3MESSAGE_H
#define SORN_SCRIPT_POP3MESSAGE_H

#include "core/SplayTree.h"
#include "core/String.h"

class File;
class Sorn;

struct POP3Header {
  POP3Header(const String& name, const String& value) : name(name), value(value) {}
  String name;
  String value;
};

inline const char* ElementName(const POP3Header* header) { return header->name.chars(); }

class POP3Message {
 public:
  // The engine is not needed once the file is open, so it is not kept.
  POP3Message(Sorn* sorn, int number, int size);
  ~POP3Message();
  POP3Message(const POP3Message&) = delete;
  POP3Message& operator=(const POP3Message&) = delete;

  // Takes over the open file and its two names; forgets earlier headers.
  void OpenFile(File* file, const String& path, const String& relativePath);
  // Writes the line and an LF; before the first empty line, "Name: value"
  // is a header (the first of a name wins).
  void SaveLine(const String& line);
  // Closes the file; it stays on disk.
  void CloseFile();
  // The header's value, empty when absent; the name in any case.
  String headers(const String& name);

  int number() const { return number_; }
  int size() const { return size_; }
  const String& path() const { return path_; }
  const String& relativePath() const { return relativePath_; }

 private:
  String path_;
  String relativePath_;
  File* file_;
  int inbody_;
  int number_;
  int size_;
  SplayTree<POP3Header> headers_;
  String error_;
};

#endif
