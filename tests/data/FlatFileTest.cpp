#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "core/Buffer.h"
#include "data/FlatFile.h"
#include "tests/script/RunScript.h"

namespace {

void WriteFile(TestHost& host, const std::string& name, const std::string& text) {
  std::ofstream(host.directory_ + "/" + name, std::ios::binary) << text;
}

std::string ReadFile(TestHost& host, const std::string& name) {
  std::ifstream in(host.directory_ + "/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Every record ReadRecord gives for the text, the last with "(eof)"
// behind it when the file ended without a line end.
std::vector<std::string> Records(const std::string& text, int blocksize) {
  TestHost host;
  WriteFile(host, "f.txt", text);
  Buffer buffer(&host, blocksize);
  std::vector<std::string> records;
  if (!buffer.Open((host.directory_ + "/f.txt").c_str(), "f.txt")) return records;
  std::string line;
  for (;;) {
    int more = FlatFile::ReadRecord(&buffer, line);
    if (!more && line.empty()) break;
    records.push_back(more ? line : line + "(eof)");
    if (!more) break;
  }
  unlink((host.directory_ + "/f.txt").c_str());
  return records;
}

// A parser over an empty script, for driving a FlatFile directly.
struct Fixture {
  Fixture() : expander(&host, 64) {
    WriteFile(host, "t.sn", "");
    expander.Open((host.directory_ + "/t.sn").c_str(), "t.sn");
    parser = new ScriptParser(&host, &expander);
  }
  ~Fixture() { delete parser; }
  TestHost host;
  MacroExpander expander;
  ScriptParser* parser;
};

}  // namespace

// The line ends and escapes read the same whatever the block size, so a
// pair split across two blocks is still one line end.
TEST(FlatFile, LineEndsAndEscapesAtEveryBlockSize) {
  std::string text = "a\rb\r\nc\n\rd\n\ne\\\\f\\ng\\rh\\ti\\\nj\\";
  std::vector<std::string> expected = {"a", "b", "c", "d", "", "e\\f\ng\rhti\nj\\(eof)"};
  for (int size : {1, 2, 3, 5, 8192}) EXPECT_EQ(Records(text, size), expected) << size;
  EXPECT_TRUE(Records("", 4).empty());
  EXPECT_EQ(Records("\n", 4), std::vector<std::string>{""});
  EXPECT_EQ(Records("x\r", 1), std::vector<std::string>{"x"});
  EXPECT_EQ(Records("x\n\n\r\r", 2), (std::vector<std::string>{"x", "", ""}));
}

// Values with backslashes, CR, LF and tabs read back unchanged when the
// delimiter is not a tab, and so does an empty value.
TEST(FlatFile, ExportedValuesReadBackUnchangedBarTheDelimiter) {
  Fixture f;
  f.host.config_.importbuffersize = 7;
  const char alphabet[] = {'a', 'Z', '\\', '\r', '\n', '\t', ' ', '"', 'n', 'r', '%', '\x01', '\xe9'};
  std::mt19937 random(22);
  FlatFile out(f.parser);
  out.SetExportFile("rt.txt");
  out.SetExportOrder("x, y ,z");
  out.SetExportDelimiter("<|>");
  Variables* vars = f.host.vars();
  std::vector<std::vector<std::string>> rows(200);
  for (auto& row : rows) {
    for (int c = 0; c < 3; c++) {
      std::string value;
      for (int i = random() % 12; i > 0; i--) value.push_back(alphabet[random() % sizeof alphabet]);
      vars->SetVariable(String(&"xyz"[c], 1), String(value.data(), (int)value.size()));
      row.push_back(value);
    }
    ASSERT_TRUE(out.ExportRecord()) << out.error().chars();
  }
  FlatFile in(f.parser);
  in.SetImportFile("rt.txt");
  in.SetImportOrder("a,b,c");
  in.SetImportDelimiter("<|>");
  ASSERT_TRUE(in.StartImport()) << in.error().chars();
  for (size_t r = 0; r < rows.size(); r++) {
    ASSERT_EQ(in.ImportNextRecord(), ImportRecord) << r;
    for (int c = 0; c < 3; c++) EXPECT_EQ(f.host.value(std::string(1, "abc"[c]).c_str()), rows[r][c]) << r;
    EXPECT_EQ(f.host.value("RECNO"), std::to_string(r + 1));
  }
  EXPECT_EQ(in.ImportNextRecord(), ImportFinished);
  in.EndImport();

  // The delimiter has no escape: a value holding it is written as it is and
  // splits into two fields on the way back, pushing the rest along.
  vars->SetVariable("x", "1,2");
  vars->SetVariable("y", "3");
  out.SetExportFile("d.txt");
  out.SetExportOrder("x,y");
  out.SetExportDelimiter(",");
  ASSERT_TRUE(out.ExportRecord());
  EXPECT_EQ(ReadFile(f.host, "d.txt"), "1,2,3\n");
  in.SetImportFile("d.txt");
  in.SetImportOrder("x,y");
  in.SetImportDelimiter(",");
  ASSERT_TRUE(in.StartImport());
  ASSERT_EQ(in.ImportNextRecord(), ImportRecord);
  EXPECT_EQ(f.host.value("x"), "1");
  EXPECT_EQ(f.host.value("y"), "2");
}

// Empty names keep their field's place; a copy takes the settings but no
// open file; an overlong file name is cut.
TEST(FlatFile, OrdersAndCopies) {
  Fixture f;
  FlatFile file(f.parser);
  file.SetImportDelimiter("");
  EXPECT_EQ(file.importdelimiter(), "\t");
  file.SetImportDelimiter(";;");
  file.SetImportOrder(" a ,, b ");
  VariableList& order = const_cast<VariableList&>(file.importorder());
  ASSERT_EQ(order.Entries(), 3);
  EXPECT_EQ(order.Find("1")->value(), "");
  EXPECT_EQ(order.Find("2")->value(), "b");
  file.SetExportOrder("p,q");
  file.SetExportFile(String(std::string(2000, 'n').c_str()));
  FlatFile copy(&file);
  EXPECT_EQ(copy.importdelimiter(), ";;");
  EXPECT_EQ(copy.exportorder().Entries(), 2);
  EXPECT_FALSE(copy.ExportRecord());
  EXPECT_NE(copy.error().search(std::string(FlatFile::kMaxFileName, 'n').c_str()), -1);
  EXPECT_EQ(copy.error().search(std::string(FlatFile::kMaxFileName + 1, 'n').c_str()), -1);
}

namespace {

long StatusKB(const char* key) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word)
    if (word == key) {
      long kb = 0;
      status >> kb;
      return kb;
    }
  return -1;
}

}  // namespace

// Memory follows the longest line, never the file: importing 100 MB of lines
// through a script whose body does nothing adds little to the peak of the
// process. The address sanitizer keeps freed memory aside, so there the
// figure means nothing.
TEST(FlatFile, LargeFileImportsInLittleMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP();
#endif
  TestHost host;
  std::string path = host.directory_ + "/big.txt";
  FILE* out = fopen(path.c_str(), "w");
  std::string line = "some name\tsome street 12\t0123456789\tand a remark of some length here\n";
  for (long written = 0; written < 100L * 1024 * 1024; written += line.size()) fputs(line.c_str(), out);
  fclose(out);
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts again from here
  long before = StatusKB("VmRSS:");
  std::string page = RunScript(host,
                               "<SnIMPORT FILE=\"big.txt\" FIELDS=\"a,b,c,d\" DELIMITER=\"\"></SnIMPORT>"
                               "<SnEVAL EXPR=\"{ RECNO $ ':' $ d }\">",
                               8192);
  long growth = StatusKB("VmHWM:") - before;
  unlink(path.c_str());
  EXPECT_EQ(page.substr(page.find(':')), ":and a remark of some length here");
  EXPECT_GT(atol(page.c_str()), 1500000);
  EXPECT_LT(growth, 8 * 1024) << "kB";
}
