// crash_writer: the writer that tests/crash/run kills, and the reader that
// checks what survived. It goes through the database driver and its view,
// the code the database tags run. Not part of the engine.
//
//   crash_writer create DIR            people.dbf with byid.snx (unique) and bytag.snx
//   crash_writer write DIR RUN SEED    adds and updates records until killed
//   crash_writer verify DIR            reads acknowledgements on standard input
//
// write adds records with the ids RUN * 1000000 + 1, 2, ... and now and then
// updates one it added before; after each it prints "added ID" or
// "updated ID VERSION" and flushes, so a line out means the operation was
// done. verify takes those lines and checks that every record is there,
// once, readable through the table and found through byid.snx, with a
// version no older than acknowledged. Exit status 0 when all is well.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "data/XBaseDatabase.h"
#include "host/CGISorn.h"
#include "script/MacroExpander.h"
#include "script/ScriptParser.h"

namespace {

// Paths as given, below one directory.
class CrashHost : public CGISorn {
 public:
  explicit CrashHost(const std::string& directory) : CGISorn(0, nullptr), directory_(directory) {}
  int ResolvePath(const String& path, String& result, PathType, String&) override {
    result = (directory_ + "/" + path.chars()).c_str();
    return 1;
  }

 private:
  std::string directory_;
};

std::string Tag(long id, long version) { return "t" + std::to_string(id) + "-v" + std::to_string(version); }

// Long enough now and then to take several memo blocks.
std::string Note(long id, long version, std::mt19937& random) {
  return "note " + std::to_string(id) + " v" + std::to_string(version) + " " +
         std::string(random() % 1400, 'a' + (char)(id % 26));
}

int Fail(const char* what, const String& error) {
  fprintf(stderr, "crash_writer: %s: %s\n", what, error.chars());
  return 1;
}

void Set(XBaseDatabase& db, const char* field, const std::string& value) {
  db.table()->Field(field)->Set(value.data(), (int)value.size());
}

int Create(ScriptParser* parser) {
  XBaseDatabase db(parser, "people");
  if (!db.Create("people.dbf", "id NUMBER(9), version NUMBER(5), tag CHAR(24), note MEMO") ||
      !db.CreateIndex("byid.snx", "( id )", "unique") || !db.CreateIndex("bytag.snx", "( tag )", "string"))
    return Fail("create", db.error());
  return 0;
}

int Open(XBaseDatabase& db) {
  if (!db.Open("people.dbf", "", "") || !db.OpenIndexes("byid.snx, bytag.snx")) return Fail("open", db.error());
  return 0;
}

int Write(ScriptParser* parser, long run, unsigned seed) {
  XBaseDatabase db(parser, "people");
  if (Open(db) != 0) return 1;
  std::mt19937 random(seed);
  std::vector<std::pair<long, long>> mine;  // id, version
  for (long sequence = 1; sequence < 1000000; sequence++) {
    if (!mine.empty() && random() % 4 == 0) {
      std::pair<long, long>& record = mine[random() % mine.size()];
      int status = db.view()->Find(std::to_string(record.first).c_str(), 1);
      if (status != 1)
        return Fail(("find " + std::to_string(record.first) + " status " + std::to_string(status) + " count " +
                     std::to_string(db.table()->recordcount()))
                        .c_str(),
                    db.view()->error());
      long version = record.second + 1;
      Set(db, "VERSION", std::to_string(version));
      Set(db, "TAG", Tag(record.first, version));
      Set(db, "NOTE", Note(record.first, version, random));
      if (db.view()->Update() != 1)
        return Fail(("update of " + std::to_string(record.first) + " in record " + std::to_string(db.table()->recno()))
                        .c_str(),
                    db.view()->error());
      record.second = version;
      printf("updated %ld %ld\n", record.first, version);
    } else {
      long id = run * 1000000 + sequence;
      Set(db, "ID", std::to_string(id));
      Set(db, "VERSION", "0");
      Set(db, "TAG", Tag(id, 0));
      Set(db, "NOTE", Note(id, 0, random));
      if (db.view()->Add() != 1) return Fail("add", db.view()->error());
      mine.push_back({id, 0});
      printf("added %ld\n", id);
    }
    fflush(stdout);
  }
  return 0;
}

int Verify(ScriptParser* parser) {
  std::map<long, long> acknowledged;  // id, version
  char line[200];
  while (fgets(line, sizeof line, stdin) != nullptr) {
    long id = 0, version = 0;
    if (sscanf(line, "added %ld", &id) == 1) acknowledged[id] = 0;
    if (sscanf(line, "updated %ld %ld", &id, &version) == 2) acknowledged[id] = version;
  }
  XBaseDatabase db(parser, "people");
  if (Open(db) != 0) return 1;
  XBaseTable* table = db.table();
  std::map<long, long> seen;  // id, record
  int problems = 0;
  auto problem = [&](const std::string& text) {
    if (++problems <= 20) printf("%s\n", text.c_str());
  };
  for (long recno = 1; recno <= (long)table->recordcount(); recno++) {
    if (!table->Goto(recno)) {
      problem("record " + std::to_string(recno) + " unreadable: " + table->error().chars());
      continue;
    }
    long id = atol(table->Field("ID")->data());
    long version = atol(table->Field("VERSION")->data());
    // Writers running side by side may point a record at another's memo
    // text (a memo's block number is taken before the memo lock), so the
    // text is checked for being readable, not for its words.
    const char* note = table->Field("NOTE")->data();
    if (seen.count(id)) problem("id " + std::to_string(id) + " in records " + std::to_string(seen[id]) + " and " +
                                std::to_string(recno));
    seen[id] = recno;
    if (note == nullptr || strncmp(note, "note ", 5) != 0)
      problem("record " + std::to_string(recno) + ": memo unreadable");
    if (table->Field("TAG")->data() != Tag(id, version))
      problem("record " + std::to_string(recno) + ": tag " + table->Field("TAG")->data() + " for version " +
              std::to_string(version));
    auto known = acknowledged.find(id);
    if (known != acknowledged.end() && version < known->second)
      problem("id " + std::to_string(id) + ": version " + std::to_string(version) + ", acknowledged " +
              std::to_string(known->second));
  }
  for (const auto& entry : acknowledged) {
    if (!seen.count(entry.first)) {
      problem("acknowledged id " + std::to_string(entry.first) + " is lost");
      continue;
    }
    int status = db.view()->Find(std::to_string(entry.first).c_str(), 1);
    if (status != 1 || table->recno() != seen[entry.first])
      problem("acknowledged id " + std::to_string(entry.first) + " not found through byid.snx");
  }
  printf("%zu acknowledged, %zu records, %d problems\n", acknowledged.size(), seen.size(), problems);
  return problems == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: crash_writer create|write|verify DIR [RUN SEED]\n");
    return 2;
  }
  CrashHost host(argv[2]);
  MacroExpander expander(&host, 64);
  if (!expander.Open("/dev/null", "crash_writer")) return 2;
  ScriptParser parser(&host, &expander);
  std::string command = argv[1];
  if (command == "create") return Create(&parser);
  if (command == "write" && argc == 5) return Write(&parser, atol(argv[3]), (unsigned)atol(argv[4]));
  if (command == "verify") return Verify(&parser);
  fprintf(stderr, "crash_writer: unknown command %s\n", argv[1]);
  return 2;
}
