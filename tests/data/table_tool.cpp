// table_tool: drives the engine's table classes from the command line, for
// the tests that set them against another program's reader and writer and
// that measure memory. Not part of the engine.
//
//   table_tool write DIR            the sample tables DIR/all.dbf and DIR/plain.dbf
//   table_tool dump PATH            type letters, then one line per record
//   table_tool append PATH [-d] NAME=VALUE...   adds a record (-d: then deletes it)
//   table_tool fill PATH N          N records, every hundredth with a memo
//   table_tool readall PATH KB      reads every record and memo; fails above KB peak
//
// A dump line is the deletion flag ('*' or blank) and each field's text,
// separated by tabs; backslash, tab and line end in a text are escaped.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>

#include <string>

#include "data/XBaseTable.h"
#include "host/CGISorn.h"

namespace {

int Fail(XBaseTable& table, const char* what) {
  fprintf(stderr, "table_tool: %s: %s\n", what, table.error().chars());
  return 1;
}

bool Set(XBaseTable& table, const char* name, const std::string& value) {
  XBaseField* field = table.Field(name);
  if (field == nullptr) {
    fprintf(stderr, "table_tool: no field %s\n", name);
    return false;
  }
  field->Set(value.data(), (int)value.size());
  return true;
}

struct Value {
  const char* field;
  std::string text;
};

int Append(XBaseTable& table, std::initializer_list<Value> values) {
  for (const Value& v : values)
    if (!Set(table, v.field, v.text)) return 1;
  return table.Append() ? 0 : Fail(table, "append");
}

int CreateTable(XBaseTable& table, const std::string& path, std::initializer_list<XBaseField*> specs) {
  List<XBaseField> fields;
  for (XBaseField* f : specs) fields.Insert(f);
  if (!table.Create(String(path.c_str()), String(path.c_str()), String(), String(), fields))
    return Fail(table, "create");
  return 0;
}

int Write(Sorn* sorn, const std::string& dir) {
  XBaseTable all(sorn);
  if (CreateTable(
          all, dir + "/all.dbf",
          {new XBaseField(nullptr, "NAME", XBaseCHAR, 10, 0),
           new XBaseField(nullptr, "QTY", XBaseNUMBER, 5, 0),
           new XBaseField(nullptr, "PRICE", XBaseNUMBER, 8, 2),
           new XBaseField(nullptr, "BORN", XBaseDATE, 8, 0), new XBaseField(nullptr, "OK", XBaseBOOL, 1, 0),
           new XBaseField(nullptr, "NOTE", XBaseMEMO, 10, 0)}))
    return 1;
  std::string longtext;
  for (int i = 0; i < 70; i++) longtext += "long text ";
  if (Append(all, {{"NAME", "Lamp"},
                   {"QTY", "7"},
                   {"PRICE", "12.50"},
                   {"BORN", "20240301"},
                   {"OK", "T"},
                   {"NOTE", "A short note"}}) ||
      Append(all, {{"NAME", "Desk chair"},
                   {"QTY", "120"},
                   {"PRICE", "-3.00"},
                   {"BORN", "19991231"},
                   {"OK", "F"},
                   {"NOTE", longtext}}) ||
      Append(all, {{"NAME", "Gone"},
                   {"QTY", "1"},
                   {"PRICE", "0.10"},
                   {"BORN", ""},
                   {"OK", "?"},
                   {"NOTE", "deleted text"}}))
    return 1;
  if (!all.UpdateDeleted(1)) return Fail(all, "delete");
  if (Append(all, {{"NAME", ""}, {"QTY", ""}, {"PRICE", ""}, {"BORN", ""}, {"OK", ""}, {"NOTE", ""}}) ||
      Append(all, {{"NAME", "Changed"},
                   {"QTY", "99999"},
                   {"PRICE", "99999.99"},
                   {"BORN", "20000229"},
                   {"OK", "T"},
                   {"NOTE", "Memo v1"}}))
    return 1;
  Set(all, "NOTE", "Memo v2");
  if (!all.Update()) return Fail(all, "update");

  XBaseTable plain(sorn);
  if (CreateTable(plain, dir + "/plain.dbf",
                  {new XBaseField(nullptr, "ID", XBaseNUMBER, 3, 0),
                   new XBaseField(nullptr, "WORD", XBaseCHAR, 4, 0)}))
    return 1;
  if (Append(plain, {{"ID", "1"}, {"WORD", "abc"}}) || Append(plain, {{"ID", "22"}, {"WORD", ""}})) return 1;
  if (!plain.UpdateDeleted(1)) return Fail(plain, "delete");
  return Append(plain, {{"ID", "333"}, {"WORD", "wxyz"}});
}

void PrintEscaped(const char* text) {
  for (const char* p = text; *p; p++) {
    if (*p == '\\')
      fputs("\\\\", stdout);
    else if (*p == '\t')
      fputs("\\t", stdout);
    else if (*p == '\n')
      fputs("\\n", stdout);
    else
      putchar(*p);
  }
}

int Dump(Sorn* sorn, const char* path) {
  XBaseTable table(sorn);
  if (!table.Open(path, path, XBaseTable::kOpenMode)) return Fail(table, "open");
  List<XBaseField>* fields = table.fields();
  const char* separator = "";
  for (XBaseField* f = fields->First(); f; f = fields->Next(), separator = "\t")
    printf("%s%c", separator, XBaseFieldLetter(f->type()));
  putchar('\n');
  for (unsigned long r = 1; r <= table.recordcount(); r++) {
    if (!table.Goto((long)r)) return Fail(table, "goto");
    putchar(table.deleted() ? '*' : ' ');
    for (XBaseField* f = fields->First(); f; f = fields->Next()) {
      const char* data = f->data();
      if (data == nullptr) return Fail(table, "memo");
      putchar('\t');
      PrintEscaped(data);
    }
    putchar('\n');
  }
  return 0;
}

int AppendArguments(Sorn* sorn, const char* path, int argc, char** argv) {
  XBaseTable table(sorn);
  if (!table.Open(path, path, XBaseTable::kOpenMode)) return Fail(table, "open");
  bool deleted = false;
  for (int i = 0; i < argc; i++) {
    if (strcmp(argv[i], "-d") == 0) {
      deleted = true;
      continue;
    }
    const char* equals = strchr(argv[i], '=');
    if (equals == nullptr) return 2;
    if (!Set(table, std::string(argv[i], equals - argv[i]).c_str(), equals + 1)) return 1;
  }
  if (!table.Append()) return Fail(table, "append");
  if (deleted && !table.UpdateDeleted(1)) return Fail(table, "delete");
  return 0;
}

int Fill(Sorn* sorn, const char* path, long count) {
  XBaseTable table(sorn);
  if (CreateTable(
          table, path,
          {new XBaseField(nullptr, "NAME", XBaseCHAR, 20, 0), new XBaseField(nullptr, "N", XBaseNUMBER, 8, 0),
           new XBaseField(nullptr, "BODY", XBaseMEMO, 10, 0)}))
    return 1;
  for (long i = 1; i <= count; i++) {
    std::string n = std::to_string(i);
    Set(table, "NAME", "record " + n);
    Set(table, "N", n);
    Set(table, "BODY", i % 100 == 0 ? "memo of record " + n : "");
    if (!table.Append()) return Fail(table, "append");
  }
  return 0;
}

int ReadAll(Sorn* sorn, const char* path, long limit) {
  XBaseTable table(sorn);
  if (!table.Open(path, path, XBaseTable::kOpenMode)) return Fail(table, "open");
  unsigned long memos = 0;
  for (unsigned long r = 1; r <= table.recordcount(); r++) {
    if (!table.Goto((long)r)) return Fail(table, "goto");
    for (XBaseField* f = table.fields()->First(); f; f = table.fields()->Next()) {
      const char* data = f->data();
      if (data == nullptr) return Fail(table, "memo");
      if (f->type() == XBaseMEMO && *data) memos++;
    }
  }
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  printf("records %lu, memo texts %lu, peak resident %ld KB (limit %ld KB)\n", table.recordcount(), memos,
         usage.ru_maxrss, limit);
  return usage.ru_maxrss <= limit ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: table_tool write|dump|append|fill|readall PATH ...\n");
    return 2;
  }
  CGISorn sorn(0, nullptr);
  std::string command = argv[1];
  if (command == "write") return Write(&sorn, argv[2]);
  if (command == "dump") return Dump(&sorn, argv[2]);
  if (command == "append") return AppendArguments(&sorn, argv[2], argc - 3, argv + 3);
  if (command == "fill" && argc == 4) return Fill(&sorn, argv[2], atol(argv[3]));
  if (command == "readall" && argc == 4) return ReadAll(&sorn, argv[2], atol(argv[3]));
  fprintf(stderr, "table_tool: unknown command %s\n", argv[1]);
  return 2;
}
