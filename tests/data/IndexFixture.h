// An index file in a fresh temporary directory, with helpers that walk it,
// describe its header and pages as text, and patch its bytes in place.
#ifndef SORN_TESTS_DATA_INDEXFIXTURE_H
#define SORN_TESTS_DATA_INDEXFIXTURE_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "data/LMTIndexChecker.h"
#include "data/LMTIndexFile.h"
#include "tests/host/TestHost.h"

class IndexFixture : public ::testing::Test {
 protected:
  // The file the index has open unless another is named.
  std::string Path(const char* name = nullptr) {
    return host_.directory_ + "/" + (name ? name : name_.c_str());
  }

  void Create(long flags = 0, const char* name = "x.snx") {
    name_ = name;
    ASSERT_EQ(index_.Create(Path().c_str(), name, "{ code }", flags), 1) << index_.error().chars();
  }
  void Reopen(const char* name = "x.snx") {
    name_ = name;
    ASSERT_EQ(index_.Open(Path().c_str(), name, FileRead | FileWrite), 1) << index_.error().chars();
  }
  void Insert(long record, const std::string& key) {
    ASSERT_EQ(index_.Insert(record, key.c_str()), 1) << key << ": " << index_.error().chars();
  }
  void Delete(long record, const std::string& key) {
    ASSERT_EQ(index_.Delete(record, key.c_str()), 1) << key << ": " << index_.error().chars();
  }

  // Record numbers in key order, and in reverse from the last key.
  std::vector<long> Forward(LMTIndexFile* index = nullptr) { return Walk(index ? index : &index_, false); }
  std::vector<long> Backward() { return Walk(&index_, true); }
  std::vector<long> Walk(LMTIndexFile* index, bool backward) {
    std::vector<long> records;
    long recno = 0;
    EXPECT_EQ(backward ? index->_Last(&recno, 1) : index->_First(&recno, 1), 1) << index->error().chars();
    while (recno != 0 && records.size() < 1000000) {
      records.push_back(recno);
      EXPECT_EQ(backward ? index->_Prev(&recno, 1) : index->_Next(&recno, 1), 1) << index->error().chars();
    }
    return records;
  }

  std::string Header() {
    struct stat st;
    stat(Path().c_str(), &st);
    EXPECT_EQ(index_.ReadHeader(), 1);
    return "updates " + std::to_string(index_.updatecount()) + " pages " + std::to_string(index_.numpages()) +
           " root " + std::to_string(index_.startingpage()) + " size " + std::to_string(st.st_size);
  }
  // "child|record:key ... lastchild", as the page stands in the file.
  std::string Page(long number) {
    std::string bytes = Bytes(number * 1024, 1024);
    const unsigned char* p = (const unsigned char*)bytes.data();
    uint32_t n = LMTIndexPage::Get32(p);
    std::string text;
    for (uint32_t i = 0; i < n && 4 + (i + 1) * 108 <= 1024; i++) {
      const unsigned char* slot = p + 4 + i * 108;
      text += std::to_string(LMTIndexPage::Get32(slot)) + "|" +
              std::to_string(LMTIndexPage::Get32(slot + 4)) + ":" + std::string((const char*)slot + 8) + " ";
    }
    if (bytes.size() < 1024 || n > 9) return text + "?";
    return text + std::to_string(LMTIndexPage::Get32(p + 4 + n * 108));
  }

  std::string Bytes(long offset, int length, const char* name = nullptr) {
    std::string data(length, '\0');
    int fd = open(Path(name).c_str(), O_RDONLY);
    ssize_t n = pread(fd, &data[0], length, offset);
    close(fd);
    data.resize(n < 0 ? 0 : n);
    return data;
  }
  void Patch(long offset, const std::string& data, const char* name = nullptr) {
    int fd = open(Path(name).c_str(), O_WRONLY);
    ASSERT_EQ(pwrite(fd, data.data(), data.size(), offset), (ssize_t)data.size());
    close(fd);
  }
  void Patch32(long offset, uint32_t value) {
    unsigned char b[4];
    LMTIndexPage::Put32(b, value);
    Patch(offset, std::string((const char*)b, 4));
  }

  // The checker's lines, joined; empty for a sound file.
  std::string Problems(long recordcount = -1) {
    LMTIndexChecker checker(&index_);
    checker.Check(recordcount);
    std::string text;
    for (const String& line : checker.problems()) text += std::string(line.chars()) + "\n";
    return text;
  }

  TestHost host_;
  std::string name_ = "x.snx";
  LMTIndexFile index_{&host_};
};

#endif
