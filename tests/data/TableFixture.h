// A scratch directory, an engine for its file manager, and helpers that
// build field lists and read or patch the bytes of table files.
#ifndef SORN_TESTS_DATA_TABLEFIXTURE_H
#define SORN_TESTS_DATA_TABLEFIXTURE_H

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include "core/FileManager.h"
#include "data/XBaseTable.h"
#include "host/CGISorn.h"
#include "tests/host/ScratchDir.h"

class TableFixture : public ::testing::Test, protected ScratchDir {
 protected:
  struct Spec {
    const char* name;
    XBaseFieldType type;
    int length;
    int decimals;
  };

  std::unique_ptr<XBaseTable> NewTable() { return std::unique_ptr<XBaseTable>(new XBaseTable(&sorn_)); }

  // Creates rel (display name rel) with the given fields; the table is open.
  std::unique_ptr<XBaseTable> Create(const std::string& rel, std::vector<Spec> specs) {
    List<XBaseField> fields;
    for (const Spec& s : specs) fields.Insert(new XBaseField(nullptr, s.name, s.type, s.length, s.decimals));
    std::unique_ptr<XBaseTable> table = NewTable();
    EXPECT_EQ(table->Create(String(P(rel).c_str()), String(rel.c_str()), String(), String(), fields), 1)
        << table->error().chars();
    return table;
  }

  std::unique_ptr<XBaseTable> Open(const std::string& rel) {
    std::unique_ptr<XBaseTable> table = NewTable();
    EXPECT_EQ(table->Open(String(P(rel).c_str()), String(rel.c_str()), XBaseTable::kOpenMode), 1)
        << table->error().chars();
    return table;
  }

  // Sets each named field and appends.
  static void Add(XBaseTable* table, std::vector<std::pair<const char*, std::string>> values) {
    for (auto& v : values) {
      XBaseField* f = table->Field(v.first);
      ASSERT_NE(f, nullptr) << v.first;
      f->Set(v.second.data(), (int)v.second.size());
    }
    ASSERT_EQ(table->Append(), 1) << table->error().chars();
  }

  static std::string Data(XBaseTable* table, const char* name) {
    XBaseField* f = table->Field(name);
    if (f == nullptr) return "<no field>";
    const char* d = f->data();
    return d ? d : "<null>";
  }
  // Every record as its fields joined by "|", a deleted one behind a "*".
  static std::string Rows(XBaseTable* table) {
    std::string text;
    for (unsigned long n = 1; n <= table->recordcount(); n++) {
      if (!table->Goto((long)n)) return text + "<no record>";
      std::string row = table->deleted() ? "*" : "";
      for (XBaseField* f = table->fields()->First(); f; f = table->fields()->Next())
        row += std::string(f->data() ? f->data() : "<null>") + "|";
      text += row.substr(0, row.size() - 1) + "\n";
    }
    return text;
  }

  // Hexadecimal bytes with any white space between them.
  static std::string Hex(const char* text) {
    std::string bytes;
    for (const char* p = text; *p;) {
      if (*p == ' ' || *p == '\n') {
        p++;
        continue;
      }
      bytes.push_back((char)strtol(std::string(p, 2).c_str(), nullptr, 16));
      p += 2;
    }
    return bytes;
  }

  // A table header and descriptors as another program writes them.
  static std::string Header(int version, unsigned long count, int headerlength, int recordlength) {
    std::string h(32, '\0');
    h[0] = (char)version;
    h[1] = 99;
    h[2] = 12;
    h[3] = 31;
    for (int i = 0; i < 4; i++) h[4 + i] = (char)((count >> (8 * i)) & 0xFF);
    h[8] = (char)(headerlength & 0xFF);
    h[9] = (char)(headerlength >> 8);
    h[10] = (char)(recordlength & 0xFF);
    h[11] = (char)(recordlength >> 8);
    return h;
  }
  static std::string Descriptor(const char* name, char type, int length, int decimals = 0) {
    std::string d(32, '\0');
    for (int i = 0; name[i] && i < 11; i++) d[i] = name[i];
    d[11] = type;
    d[16] = (char)length;
    d[17] = (char)decimals;
    return d;
  }

  CGISorn sorn_{0, nullptr};
};

#endif
