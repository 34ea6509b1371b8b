// Feeds damaged index files to the database tags: a table of twelve records is opened with an index made of the input, walked both ways, searched, added to, updated and reindexed.
#include <string>

#include "fuzz/FuzzHost.h"

namespace {

std::string ReadFile(const std::string& path) {
  std::string bytes;
  FILE* f = fopen(path.c_str(), "rb");
  if (f != nullptr) {
    for (int c; (c = fgetc(f)) != EOF;) bytes.push_back((char)c);
    fclose(f);
  }
  return bytes;
}

struct Pristine {
  std::string table;
  std::string memo;
};

// Makes the table once, through the engine, and keeps the bytes of it and
// its memo file, so that every run starts from the same twelve records
// whatever the last one added or packed away.
const Pristine& PristineFiles(FuzzHost& host) {
  static Pristine files;
  if (!files.table.empty()) return files;
  const char setup[] =
      "<SnCREATE NAME=\"t\" DATABASE=\"t.dbf\" FIELDS=\"k CHAR(6), n NUMBER(4), m MEMO\">"
      "<SnASSIGN NAME=\"i\" VALUE=\"1\"><SnWHILE EXPR=\"{ i LE 12 }\"><SnASSIGN NAME=\"t.d.k\" VALUE=\"{ 'k' $ i }\">"
      "<SnASSIGN NAME=\"t.d.n\" VALUE=\"{ i }\"><SnASSIGN NAME=\"t.d.m\" VALUE=\"{ 'memo ' $ i }\"><SnADD NAME=\"t\">"
      "<SnASSIGN NAME=\"i\" VALUE=\"{ i + 1 }\"></SnWHILE>";
  host.WriteFile("site/t.sn", (const uint8_t*)setup, sizeof setup - 1);
  host.Run();
  files.table = ReadFile(host.root + "/data/t.dbf");
  files.memo = ReadFile(host.root + "/data/t.dbt");
  return files;
}

const char kScript[] =
    "<SnOPEN NAME=\"t\" DATABASE=\"t.dbf\" INDEXES=\"t.snx\">"
    "<SnASSIGN NAME=\"i\" VALUE=\"0\"><SnWHILE EXPR=\"{ t.d.eof EQ 0 AND i LT 40 }\"><SnEVAL EXPR=\"{ t.d.k }\">"
    "<SnSKIP NAME=\"t\"><SnASSIGN NAME=\"i\" VALUE=\"{ i + 1 }\"></SnWHILE>"
    "<SnGO NAME=\"t\" ROW=\"bottom\"><SnSKIP NAME=\"t\" ROWS=\"-3\"><SnGO NAME=\"t\" ROW=\"5\">"
    "<SnFIND NAME=\"t\" VALUE=\"k1\"><SnFIND NAME=\"t\" VALUE=\"k7\" EXACT>"
    "<SnFILTER NAME=\"t\" FILTER=\"{ n GT 6 }\"><SnFIND NAME=\"t\" VALUE=\"k\">"
    "<SnASSIGN NAME=\"t.d.k\" VALUE=\"zz\"><SnUPDATE NAME=\"t\"><SnADD NAME=\"t\">"
    "<SnGO NAME=\"t\" ROW=\"2\"><SnDELETE NAME=\"t\"><SnREINDEX NAME=\"t\"><SnGO NAME=\"t\" ROW=\"top\">"
    "<SnPACK NAME=\"t\">";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  const Pristine& files = PristineFiles(host);
  host.WriteFile("data/t.dbf", (const uint8_t*)files.table.data(), files.table.size());
  host.WriteFile("data/t.dbt", (const uint8_t*)files.memo.data(), files.memo.size());
  host.WriteFile("data/t.snx", data, size);
  host.WriteFile("site/t.sn", (const uint8_t*)kScript, sizeof kScript - 1);
  host.Run();
  return 0;
}
