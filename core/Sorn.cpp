#include "core/Sorn.h"

#include "core/Config.h"
#include "core/Database.h"
#include "core/Error.h"
#include "core/Output.h"

int Sorn::ResetGlobalTimeout() {
  if (config()->globaltimeout != 0) deadline_ = time(0) + config()->globaltimeout;
  return 1;
}

int Sorn::timeremaining() {
  if (deadline_ == 0) return -1;
  return (int)(deadline_ - time(0));
}

void Sorn::Error(const class Error& error) {
  if (!headerssent_) {
    StartHeaders(error.resultcode());
    EndHeaders();
    headerssent_ = 1;
  }
  output()->Write(error.message());
  output()->Write("\r\n", 2);
  output()->Flush();
}

void Sorn::Error(const String& text) {
  if (!headerssent_) {
    StartHeaders(200);
    EndHeaders();
    headerssent_ = 1;
  }
  output()->Write(text);
  output()->Flush();
}

void Sorn::AddCommerceHandler(const String& method, const String& library) {
  commercemethods_.Insert(new CommerceMethod(method, library), ListTail);
}

CommerceHandler* Sorn::NewCommerceHandler(const String& name, ScriptParser* parser, String& message) {
  CommerceMethod* method = commercemethods_.Find(name.chars());
  CommerceHandler* handler = method != nullptr ? ConstructCommerceHandler(method, parser) : nullptr;
  if (handler == nullptr) message = "Unsupported commerce method '" + name + "'";
  return handler;
}

CommerceHandler* Sorn::ConstructCommerceHandler(CommerceMethod*, ScriptParser*) { return nullptr; }

void Sorn::AddPackage(const String& code, const String& name, const String& description, const String& version,
                      const String& path, const String& defaultpath) {
  packages_.Insert(new Package(code, name, description, version, path, defaultpath), ListTail);
}

void Sorn::AddDatabase(Database* database) { databases_.Insert(database, ListHead); }

void Sorn::RemoveDatabase(Database* database) {
  if (databases_.Seek(database) != nullptr) databases_.Remove();
}

Database* Sorn::FindDatabase(const String& name) { return databases_.Find(name.chars()); }

Database* Sorn::PrimaryDB() { return databases_.First(); }

void Sorn::SetPrimaryDB(Database* database) {
  if (databases_.Seek(database) == nullptr) return;
  databases_.Remove();
  databases_.Insert(database, ListHead);
}

DatabaseView* Sorn::FindDatabaseView(const String& alias) {
  // Variable lookup runs in the middle of walks over these lists, so the
  // cursors are left where they were.
  Database* cursor = databases_.Current();
  DatabaseView* found = nullptr;
  for (Database* db = databases_.First(); db != nullptr && found == nullptr; db = databases_.Next()) {
    SearchableList<DatabaseView>* views = db->views();
    DatabaseView* viewcursor = views->Current();
    found = views->Find(alias.chars());
    views->Seek(viewcursor);
  }
  databases_.Seek(cursor);
  return found;
}

Database* Sorn::NewDatabase(const String& type, ScriptParser*, const String&, String& error) {
  error = "Unsupported database type '" + type + "'";
  return nullptr;
}

const char* ElementName(const Database* database) { return database->name().chars(); }
