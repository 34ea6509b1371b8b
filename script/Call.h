// Call: one HTTP request of the web call and the walk of its reply. The
// reply body is cut into elements (a run of text, or one tag with its
// attributes) read one at a time through a NetworkBuffer, so a reply of
// any length needs one buffer of memory plus the element in hand. The
// variables of the current element live in the Call's own tree, which
// CALLState shows to the script as a system frame.
#ifndef SORN_SCRIPT_CALL_H
#define SORN_SCRIPT_CALL_H

#include "core/List.h"
#include "core/String.h"
#include "script/Variable.h"

class NetworkBuffer;
class NetworkConnection;
class ScriptParser;

// One file to upload: the resolved path, the name the script gave (the
// variable's value), the content type, the form field (the variable's
// name) and the size in bytes.
struct CallFile {
  CallFile(const String& path, const String& filename, const String& type, const String& name, long size)
      : path(path), filename(filename), type(type), name(name), size(size) {}
  String path;
  String filename;
  String type;
  String name;
  long size;
};

// Request kinds.
enum CallKind { CallHEAD = 0, CallGET = 1, CallPOST = 2 };

// Results of FindNextElement and of the steps of the tag reader.
enum CallResult { CallElement = 0, CallEnd = 2, CallFailed = 3 };

class Call {
 public:
  explicit Call(ScriptParser* parser);
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // Sends the request and reads the header lines. 0 when connected (the
  // headers may be empty), 3 with error() set otherwise.
  int Connect(const String& method, const String& url, const String& fields, const String& files);
  // Reads the next element into the variables: 0 for an element, 2 at the
  // end of the data, 3 with error() set on a damaged tag.
  int FindNextElement();

  VariableTree& variables() { return variables_; }
  const String& error() const { return error_; }

 private:
  // Text up to the next '<' (put back) or the end; 2 when the data ended
  // with nothing read, else 0.
  int GetText(String& text);
  // Appends white space to source; 0 when another character follows (put
  // back), 2 at the end of the data.
  int EatWhitespace(String& source);
  // The rest of "<!--...-->" into source; 0, or 3 at the end of the data.
  int EatHTMLComment(String& source);
  void ClearAttributeVariables();
  // The attributes up to the end of the tag; 0, or 3 on error.
  int GetNameValuePairs(String& source);
  // 1 for a pair, 0 at the end of the tag, 3 on error.
  int GetNextNameValuePair(String& source, String& name, String& value);
  void BuildVariableList(const String& fields);
  // 0, or 3 with error() set when a file cannot be used.
  int BuildFileList(const String& files);
  int OpenMultipartConnection();
  int OpenURLEncodedConnection();
  // Writes the content of one upload; 0, or 3 with error() set.
  int SendFile(CallFile* file);
  int Error(const String& text);
  void Set(const String& name, const String& value);
  int Next();

  ScriptParser* parser_;
  NetworkConnection* connection_;
  NetworkBuffer* buffer_;
  VariableTree variables_;
  int kind_;
  String url_;
  VariableList fields_;
  List<CallFile> files_;
  int attributes_;
  String error_;
};

#endif
