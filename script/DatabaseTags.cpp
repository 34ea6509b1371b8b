// The database tags: each finds its database and view, runs one operation
// of the driver, and turns the result into the script's error protocol.
#include <cstdlib>

#include "core/Database.h"
#include "core/Sorn.h"
#include "script/ScriptParser.h"
#include "script/ScriptState.h"
#include "script/Tag.h"
#include "script/TagIds.h"
#include "script/Variables.h"

int ScriptState::GetDatabase(Tag* tag, Database** database, DatabaseView** view) {
  *database = nullptr;
  if (view != nullptr) *view = nullptr;
  Sorn* sorn = parser_->sorn();
  String name = tag->Value("NAME");
  Database* db;
  if (!name.empty()) {
    db = sorn->FindDatabase(name);
    if (db == nullptr) return RuntimeError(tag, "Database '" + name + "' is not open");
  } else {
    db = sorn->PrimaryDB();
    if (db == nullptr) return RuntimeError(tag, "There is no primary database, and no database was specified");
  }
  NameValuePair* viewname = tag->Find("VIEW");
  if (view != nullptr && viewname != nullptr) {
    DatabaseView* found;
    if (!viewname->value.empty()) {
      found = db->FindView(viewname->value);
      if (found == nullptr)
        return RuntimeError(tag, "Database '" + db->name() + "' has no view named '" + viewname->value + "'");
    } else {
      found = db->PrimaryView();
      if (found == nullptr) return RuntimeError(tag, "Database '" + db->name() + "' has no primary view");
    }
    *view = found;
  }
  *database = db;
  return StateHandled;
}

int ScriptState::GetDatabaseView(Tag* tag, Database** database, DatabaseView** view) {
  int result = GetDatabase(tag, database, view);
  if (*database == nullptr) return result;
  if (*view == nullptr) *view = (*database)->PrimaryView();
  if (*view == nullptr) {
    result = RuntimeError(tag, "Database '" + (*database)->name() + "' has no primary view");
    *database = nullptr;
  }
  return result;
}

int ScriptState::ViewResult(Tag* tag, DatabaseView* view, int status) {
  if (status == ViewFailure) return RuntimeError(tag, view->error());
  // Running off the end is no error, but the script can see it happened.
  if (status == ViewEndOfFile) parser_->vars()->SetVariable(*tag + "_Error", "EOF");
  return StateHandled;
}

int ScriptState::OpenOrCreateDatabase(Tag* tag, int create) {
  Sorn* sorn = parser_->sorn();
  String name = tag->Value("NAME");
  if (sorn->FindDatabase(name) != nullptr)
    return RuntimeError(tag, "A database with the name '" + name + "' is already open");
  String error;
  Database* database = sorn->NewDatabase(tag->Value("TYPE"), parser_, name, error);
  if (database == nullptr) return RuntimeError(tag, error);
  int ok;
  if (create) {
    ok = database->Create(tag->Value("DATABASE"), tag->Value("FIELDS"));
  } else {
    ok = database->Open(tag->Value("DATABASE"), tag->Value("USER"), tag->Value("PASSWORD"));
    String indexes = tag->Value("INDEXES");
    if (ok && !indexes.empty()) ok = database->OpenIndexes(indexes);
  }
  if (!ok) {
    int result = RuntimeError(tag, database->error());
    delete database;
    return result;
  }
  sorn->AddDatabase(database);
  return StateHandled;
}

int ScriptState::ProcessSnOPEN(Tag* tag) { return OpenOrCreateDatabase(tag, 0); }

int ScriptState::ProcessSnCREATE(Tag* tag) { return OpenOrCreateDatabase(tag, 1); }

int ScriptState::ProcessSnCLOSE(Tag* tag) {
  Database* database;
  int result = GetDatabase(tag, &database, nullptr);
  if (database == nullptr) return result;
  database->Close();
  parser_->sorn()->RemoveDatabase(database);
  delete database;
  return StateHandled;
}

int ScriptState::ProcessViewTag(Tag* tag) {
  Database* database;
  DatabaseView* view;
  int result = GetDatabaseView(tag, &database, &view);
  if (database == nullptr) return result;
  int status = ViewFailure;
  switch (tag->id()) {
    case TagSnSKIP: {
      long rows = strtol(tag->Value("ROWS").chars(), nullptr, 10);
      status = view->Skip(rows);
      break;
    }
    case TagSnGO: {
      String row = tag->Value("ROW");
      status = view->Go(row.matches("top") ? (long)ViewTop : row.matches("bottom") ? (long)ViewBottom : strtol(row.chars(), nullptr, 10));
      break;
    }
    case TagSnFIND:
      status = view->Find(tag->Value("VALUE"), tag->Find("EXACT") != nullptr);
      break;
    case TagSnFILTER:
      status = view->SetFilter(tag->Value("FILTER"));
      break;
    case TagSnUPDATE:
      status = view->Update();
      break;
    case TagSnDELETE:
      status = view->Delete();
      break;
    case TagSnUNDELETE:
      status = view->UnDelete();
      break;
    case TagSnADD:
      status = view->Add();
      break;
    case TagSnREVEALSTRUCTURE:
      status = view->RevealStructure(tag->Value("DATABASE"));
      break;
    default:
      break;
  }
  return ViewResult(tag, view, status);
}

int ScriptState::ProcessSnPRIMARY(Tag* tag) {
  Sorn* sorn = parser_->sorn();
  String name = tag->Value("NAME");
  Database* database = sorn->FindDatabase(name);
  if (database == nullptr) {
    parser_->SyntaxError("Database '" + name + "' is not open");
    return StateFailure;
  }
  sorn->SetPrimaryDB(database);
  NameValuePair* view = tag->Find("VIEW");
  if (view != nullptr) {
    DatabaseView* found = database->FindView(view->value);
    if (found == nullptr) {
      parser_->RuntimeError(tag, "Database '" + name + "' has no view named '" + view->value + "'");
      return StateFailure;
    }
    database->SetPrimaryView(found);
  }
  NameValuePair* index = tag->Find("INDEX");
  if (index != nullptr && !database->SetPrimaryIndex(index->value)) {
    parser_->RuntimeError(tag, database->error());
    return StateFailure;
  }
  return StateHandled;
}

int ScriptState::ProcessSnSETINDEX(Tag* tag) {
  Database* database;
  DatabaseView* view;
  int result = GetDatabase(tag, &database, &view);
  if (database == nullptr) return result;
  if (!database->OpenIndexes(tag->Value("INDEXES"))) return RuntimeError(tag, database->error());
  return StateHandled;
}

int ScriptState::ProcessSnMAKEINDEX(Tag* tag) {
  NameValuePair* expression = tag->Find("EXPR");
  if (expression == nullptr) expression = tag->Find("EXPRESSION");
  if (expression == nullptr) {
    parser_->SyntaxError(*tag + " requires the EXPR attribute to be specified");
    return StateFailure;
  }
  Database* database;
  int result = GetDatabase(tag, &database, nullptr);
  if (database == nullptr) return result;
  if (!database->CreateIndex(tag->Value("INDEXFILE"), expression->value, tag->Value("FLAGS")))
    return RuntimeError(tag, database->error());
  return StateHandled;
}

int ScriptState::ProcessSnPACK(Tag* tag) {
  Database* database;
  int result = GetDatabase(tag, &database, nullptr);
  if (database == nullptr) return result;
  if (database->Pack() != ViewFailure) return StateHandled;
  result = RuntimeError(tag, database->error());
  // After a failed pack the files may be half new and half old: the
  // database is not to be trusted, and its alias is freed.
  database->Close();
  parser_->sorn()->RemoveDatabase(database);
  delete database;
  return result;
}

int ScriptState::ProcessSnREINDEX(Tag* tag) {
  Database* database;
  int result = GetDatabase(tag, &database, nullptr);
  if (database == nullptr) return result;
  if (!database->Reindex()) return RuntimeError(tag, database->error());
  return StateHandled;
}

int ScriptState::ProcessSnOPENVIEW(Tag* tag) {
  Sorn* sorn = parser_->sorn();
  String name = tag->Value("NAME");
  Database* database = name.empty() ? sorn->PrimaryDB() : sorn->FindDatabase(name);
  if (database == nullptr) {
    parser_->SyntaxError(name.empty() ? String("There is no primary database, and no database was specified")
                                      : "Database '" + name + "' is not open");
    return StateFailure;
  }
  String view = tag->Value("VIEW");
  if (database->FindView(view) != nullptr) {
    parser_->SyntaxError("Database '" + database->name() + "' already has a view named '" + view + "'");
    return StateFailure;
  }
  if (!database->OpenView(view, tag->Value("QUERY"))) return RuntimeError(tag, database->error());
  return StateHandled;
}

int ScriptState::ProcessSnCLOSEVIEW(Tag* tag) {
  Database* database;
  DatabaseView* view;
  int result = GetDatabaseView(tag, &database, &view);
  if (database == nullptr) return result;
  database->RemoveView(view);
  delete view;
  return StateHandled;
}

int ScriptState::ProcessSnQUERY(Tag* tag) {
  Database* database;
  int result = GetDatabase(tag, &database, nullptr);
  if (database == nullptr) return result;
  if (!database->RunQuery(tag->Value("QUERY"))) return RuntimeError(tag, database->error());
  return StateHandled;
}
