// The functions the engine exports to commerce libraries (declared in
// ext/sorn_extension.h). Each is a thin forward to the engine's classes;
// the opaque handles of the header are the engine's own objects. Null
// pointers and negative sizes from a library give the failure value
// rather than a crash, since a library's mistake should not take down the
// whole request with no message.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/Config.h"
#include "core/File.h"
#include "core/FileManager.h"
#include "core/NetworkConnection.h"
#include "core/NetworkManager.h"
#include "core/Sorn.h"
#include "ext/sorn_extension.h"
#include "script/ScriptParser.h"
#include "script/Variable.h"

namespace {

ScriptParser* Parser(SornHandle* handle) { return reinterpret_cast<ScriptParser*>(handle); }
Sorn* Engine(SornHandle* handle) { return Parser(handle)->sorn(); }
Variable* Var(SornVariable* variable) { return reinterpret_cast<Variable*>(variable); }
SornVariable* Handle(Variable* variable) { return reinterpret_cast<SornVariable*>(variable); }
VariableList* Vars(SornList* list) { return reinterpret_cast<VariableList*>(list); }
VariableTree* Tree(SornTree* tree) { return reinterpret_cast<VariableTree*>(tree); }
NetworkConnection* Stream(SornConnection* connection) {
  return reinterpret_cast<NetworkConnection*>(connection);
}
File* Open(SornFile* file) { return reinterpret_cast<File*>(file); }
const char* Text(const char* text) { return text != nullptr ? text : ""; }

// Copies text to buffer, cut to size - 1 bytes and always NUL-ended.
void CopyOut(const String& text, char* buffer, int size) {
  if (buffer == nullptr || size <= 0) return;
  int n = text.length() < size ? text.length() : size - 1;
  memcpy(buffer, text.chars(), (size_t)n);
  buffer[n] = 0;
}

// Resolves a library's name as a script's would be: 1 with path set, or
// 0 with the reason kept as the file manager's error.
int Resolve(SornHandle* handle, int location, const char* name, String& path) {
  if (handle == nullptr) return 0;
  Sorn* sorn = Engine(handle);
  String given = Text(name);
  PathType type = DataPath;
  if (location == SORN_LOCATION_SCRIPT) {
    type = ScriptPath;
  } else if (location == SORN_LOCATION_COMMERCE) {
    String directory = sorn->config() != nullptr ? sorn->config()->commercedir : String();
    bool separated = (!directory.empty() && directory[directory.length() - 1] == '/') ||
                     (!given.empty() && given[0] == '/');
    given = directory + (separated ? "" : "/") + given;
  }
  String message;
  if (!sorn->ResolvePath(given, path, type, message)) {
    sorn->filemanager()->Error(message);
    return 0;
  }
  return 1;
}

}  // namespace

extern "C" {

void* sorn_alloc(int size) { return size < 0 ? nullptr : malloc((size_t)size); }
void* sorn_realloc(void* pointer, int size) { return size < 0 ? nullptr : realloc(pointer, (size_t)size); }
void sorn_free(void* pointer) { free(pointer); }

SornVariable* sorn_variable_new(const char* name, const char* value) {
  return Handle(new Variable(Text(name), Text(value)));
}
const char* sorn_variable_name(SornVariable* variable) {
  return variable != nullptr ? Var(variable)->name().chars() : nullptr;
}
const char* sorn_variable_value(SornVariable* variable) {
  return variable != nullptr ? Var(variable)->value().chars() : nullptr;
}
void sorn_variable_setvalue(SornVariable* variable, const char* value) {
  if (variable != nullptr) Var(variable)->SetValue(Text(value));
}

SornList* sorn_variablelist_new(void) { return reinterpret_cast<SornList*>(new VariableList(1)); }
SornVariable* sorn_variablelist_first(SornList* list) {
  return list != nullptr ? Handle(Vars(list)->First()) : nullptr;
}
SornVariable* sorn_variablelist_current(SornList* list) {
  return list != nullptr ? Handle(Vars(list)->Current()) : nullptr;
}
SornVariable* sorn_variablelist_next(SornList* list) {
  return list != nullptr ? Handle(Vars(list)->Next()) : nullptr;
}
SornVariable* sorn_variablelist_find(SornList* list, const char* name) {
  return list != nullptr ? Handle(Vars(list)->Find(Text(name))) : nullptr;
}
void sorn_variablelist_setvariable(SornList* list, const char* name, const char* value) {
  if (list != nullptr) Vars(list)->SetVariable(Text(name), Text(value));
}
void sorn_variablelist_dump(SornList* list) {
  if (list != nullptr) Vars(list)->Dump();
}
void sorn_variablelist_delete(SornList* list) { delete Vars(list); }

char* sorn_variablelist_to_url(const char* url, SornList* list) {
  String text = Text(url);
  if (!text.contains('?')) {
    text.cat("?");
  } else if (text[text.length() - 1] == '?' || text[text.length() - 1] == '+') {
    // "a.sn?" becomes "a.sn??x=1": callers have long relied on it.
    text.cat("?");
  } else {
    text.cat("+");
  }
  if (list != nullptr) {
    // The walk borrows the list's cursor; the library gets it back.
    VariableList* variables = Vars(list);
    Variable* cursor = variables->Current();
    for (Variable* v = variables->First(); v != nullptr;) {
      String name = v->name();
      String value = v->value();
      Sorn::EncodeAttribute(name);
      Sorn::EncodeAttribute(value);
      text.cat(name);
      text.cat("=");
      text.cat(value);
      v = variables->Next();
      if (v != nullptr) text.cat("&");
    }
    variables->Seek(cursor);
  }
  char* result = static_cast<char*>(malloc((size_t)text.length() + 1));
  if (result == nullptr) return nullptr;
  memcpy(result, text.chars(), (size_t)text.length());
  result[text.length()] = 0;
  return result;
}

SornTree* sorn_variabletree_new(void) { return reinterpret_cast<SornTree*>(new VariableTree(1)); }
SornVariable* sorn_variabletree_find(SornTree* tree, const char* name) {
  return tree != nullptr ? Handle(Tree(tree)->Find(Text(name))) : nullptr;
}
void sorn_variabletree_setvariable(SornTree* tree, const char* name, const char* value) {
  if (tree != nullptr) Tree(tree)->SetVariable(Text(name), Text(value));
}
void sorn_variabletree_insert(SornTree* tree, SornVariable* variable) {
  if (tree != nullptr && variable != nullptr) Tree(tree)->Insert(Var(variable));
}
void sorn_variabletree_dump(SornTree* tree) {
  if (tree != nullptr) Tree(tree)->Dump();
}
void sorn_variabletree_delete(SornTree* tree) { delete Tree(tree); }

int sorn_network_isipaddress(SornHandle* handle, const char* text) {
  if (handle == nullptr) return 0;
  return Engine(handle)->networkmanager()->IsIPAddress(Text(text)) ? 1 : 0;
}
int sorn_network_gethostaddress(SornHandle* handle, const char* name, char* buffer, int size) {
  if (handle == nullptr) return -1;
  String address;
  int result = Engine(handle)->networkmanager()->GetHostAddress(Text(name), address);
  if (result >= 0) CopyOut(address, buffer, size);
  return result;
}
SornConnection* sorn_network_connect(SornHandle* handle, const char* host, int port) {
  if (handle == nullptr) return nullptr;
  return reinterpret_cast<SornConnection*>(Engine(handle)->networkmanager()->Connect(Text(host), port));
}
SornConnection* sorn_network_openurl(SornHandle* handle, const char* method, const char* url,
                                     const char* body, const char* contenttype, int length) {
  if (handle == nullptr) return nullptr;
  NetworkManager* manager = Engine(handle)->networkmanager();
  return reinterpret_cast<SornConnection*>(
      manager->OpenURL(Text(method), Text(url), Text(body), Text(contenttype), length));
}
int sorn_network_read(SornConnection* connection, char* buffer, int size, int timeout) {
  if (connection == nullptr || buffer == nullptr || size < 0) return -1;
  return Stream(connection)->Read(buffer, size, timeout);
}
int sorn_network_readline(SornConnection* connection, char* buffer, int size, int timeout) {
  if (connection == nullptr || buffer == nullptr || size <= 0) return -1;
  String line;
  int count = Stream(connection)->ReadLine(line, timeout);
  // strncpy stops at a NUL inside the line, and pads the rest with NULs.
  strncpy(buffer, line.chars(), (size_t)size);
  buffer[size - 1] = 0;
  if (count < 0) return count;
  return count < size - 1 ? count : size - 1;
}
int sorn_network_write(SornConnection* connection, const char* buffer, int size) {
  if (connection == nullptr || buffer == nullptr || size < 0) return -1;
  return Stream(connection)->Write(buffer, size);
}
void sorn_network_close(SornConnection* connection) { delete Stream(connection); }
const char* sorn_network_error(SornHandle* handle, SornConnection* connection) {
  if (connection != nullptr) return Stream(connection)->error().chars();
  return handle != nullptr ? Engine(handle)->networkmanager()->error().chars() : "";
}

int sorn_file_resolve(SornHandle* handle, int location, const char* name, char* buffer, int size) {
  String path;
  if (!Resolve(handle, location, name, path)) return 0;
  CopyOut(path, buffer, size);
  return 1;
}
SornFile* sorn_file_open(SornHandle* handle, int location, const char* name, int mode) {
  String path;
  if (!Resolve(handle, location, name, path)) return nullptr;
  FileManager* files = Engine(handle)->filemanager();
  return reinterpret_cast<SornFile*>(files->Open(path, mode));
}
int sorn_file_delete(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->Delete(path);
}
int sorn_file_rename(SornHandle* handle, int fromlocation, const char* from, int tolocation, const char* to) {
  String source, target;
  if (!Resolve(handle, fromlocation, from, source) || !Resolve(handle, tolocation, to, target)) return -1;
  return Engine(handle)->filemanager()->Rename(source, target);
}
int sorn_file_exists(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->Exists(path);
}
int sorn_file_size(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  long length = Engine(handle)->filemanager()->Length(path);
  return length > INT_MAX ? INT_MAX : (int)length;
}
int sorn_file_isdirectory(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return 0;
  return Engine(handle)->filemanager()->IsDirectory(path);
}
int sorn_file_makedirectory(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->MakeDirectory(path);
}
int sorn_file_removedirectory(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->RemoveDirectory(path);
}
int sorn_file_mode(SornHandle* handle, int location, const char* name) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->Mode(path);
}
int sorn_file_changemode(SornHandle* handle, int location, const char* name, int mode) {
  String path;
  if (!Resolve(handle, location, name, path)) return -1;
  return Engine(handle)->filemanager()->ChangeMode(path, mode);
}

int sorn_file_read(SornFile* file, char* buffer, int size) {
  if (file == nullptr || buffer == nullptr || size < 0) return -1;
  return Open(file)->Read(buffer, size);
}
int sorn_file_write(SornFile* file, const char* buffer, int size) {
  if (file == nullptr || buffer == nullptr || size < 0) return -1;
  return Open(file)->Write(buffer, size);
}
long sorn_file_seek(SornFile* file, long offset) { return file != nullptr ? Open(file)->Seek(offset) : -1; }
long sorn_file_tell(SornFile* file) { return file != nullptr ? Open(file)->Tell() : -1; }
long sorn_file_length(SornFile* file) { return file != nullptr ? Open(file)->Length() : -1; }
int sorn_file_lock(SornFile* file, int type, long offset, long length) {
  if (file == nullptr) return -1;
  // Libraries say 2 for exclusive, unlike the engine's own lock types.
  return Open(file)->Lock(type == SORN_LOCK_EXCLUSIVE ? FileLockExclusive : FileLockShared, offset, length);
}
int sorn_file_release(SornFile* file, long offset, long length) {
  return file != nullptr ? Open(file)->Release(offset, length) : -1;
}
void sorn_file_close(SornFile* file) { delete Open(file); }
char sorn_file_pathseparator(SornHandle* handle) {
  return handle != nullptr ? Engine(handle)->filemanager()->pathseparator() : '/';
}
const char* sorn_file_error(SornHandle* handle, SornFile* file) {
  if (file != nullptr) return Open(file)->error().chars();
  return handle != nullptr ? Engine(handle)->filemanager()->error().chars() : "";
}

}  // extern "C"
