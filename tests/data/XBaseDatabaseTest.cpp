// The field-specification language of SnCREATE and the index flag words.
#include "data/XBaseDatabase.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Parsed {
  int ok;
  std::string error;
  std::string fields;  // "NAME type length.decimals" joined by blanks
};

Parsed Parse(const char* text) {
  List<XBaseField> fields(1);
  String error;
  Parsed p;
  p.ok = XBaseDatabase::ParseFieldSpecification(text, fields, error);
  p.error = error.chars();
  for (XBaseField* f = fields.First(); f != nullptr; f = fields.Next()) {
    if (!p.fields.empty()) p.fields += " ";
    p.fields += std::string(f->name()) + " " + XBaseFieldLetter(f->type()) + " " + std::to_string(f->length()) +
                "." + std::to_string(f->decimalcount());
  }
  return p;
}

TEST(XBaseFieldSpecification, EveryTypeWithItsStoredSize) {
  Parsed p = Parse(" id CHAR(6),amount number(7.2) , count NUMBER(5), big NUMBER, born date,"
                   "\tok\tBool, notes MEMO, raw NUMBER(4.0), blank NUMBER()");
  ASSERT_EQ(p.ok, 1) << p.error;
  EXPECT_EQ(p.fields,
            "ID C 6.0 AMOUNT N 10.2 COUNT N 5.0 BIG N 19.0 BORN D 8.0 OK L 1.0 NOTES M 10.0 RAW N 4.0 "
            "BLANK N 19.0");
}

TEST(XBaseFieldSpecification, LimitsAreOnTheStoredLength) {
  EXPECT_EQ(Parse("a CHAR(254)").ok, 1);
  EXPECT_EQ(Parse("a NUMBER(19)").ok, 1);
  EXPECT_EQ(Parse("a NUMBER(16.2)").fields, "A N 19.2");
  EXPECT_EQ(Parse("abcdefghij CHAR(1)").ok, 1);
  EXPECT_EQ(Parse("a NUMBER(17.2)").error, "NUMERIC\tfields may only\tbe 19 digits, field 'A'\tis 20 digits");
  EXPECT_EQ(Parse("a NUMBER(20)").error, "NUMERIC\tfields may only\tbe 19 digits, field 'A'\tis 20 digits");
  EXPECT_EQ(Parse("a CHAR(255)").error,
            "CHAR fields may\tonly be\t254 characters long, field 'A' is 255 characters long");
  EXPECT_EQ(Parse("abcdefghijk CHAR(1)").error,
            "Field name 'ABCDEFGHIJK' is longer than the XBase limit of 10 characters");
}

TEST(XBaseFieldSpecification, MalformedEntries) {
  EXPECT_EQ(Parse("a CHAR(5),").error, "Dangling comma in field\tspecification");
  EXPECT_EQ(Parse("a CHAR(5),,b CHAR(1)").error, "Dangling comma in field\tspecification");
  EXPECT_EQ(Parse("a").error, "Dangling comma in field\tspecification");
  EXPECT_EQ(Parse("").error, "Field specification does not define any\tfields");
  EXPECT_EQ(Parse("  ").error, "Field specification does not define any\tfields");
  EXPECT_EQ(Parse("a CHAR(2), A DATE").error,
            "Field name 'A' is used more than once in the field specification");
  EXPECT_EQ(Parse("a CHAR").error, "Error in field specification: CHAR datatypes require a length");
  EXPECT_EQ(Parse("a CHAR(3").error, "Error in field specification: CHAR datatypes require a length");
  EXPECT_EQ(Parse("a CHAR(3) x").error, "Unexpected ' x' following field declaration");
  EXPECT_EQ(Parse("a NUMBER(3)x").error, "Unexpected 'x' following field declaration");
  EXPECT_EQ(Parse("a FLOAT(3)").error, "Unknown\tfield type 'FLOAT' in field specification");
  // A failure keeps what was built before it, for the caller to drop.
  EXPECT_EQ(Parse("a CHAR(1), b text").fields, "A C 1.0");
  // Sizes outside a descriptor byte.
  EXPECT_EQ(Parse("a CHAR(-3)").ok, 0);
  EXPECT_EQ(Parse("a NUMBER(1.300)").ok, 0);
}

TEST(XBaseIndexFlags, WordsInOrderLaterWins) {
  EXPECT_EQ(XBaseDatabase::IndexFlags("ascending"), 0);
  EXPECT_EQ(XBaseDatabase::IndexFlags(" Descending , UNIQUE"), LMTIndexDescending | LMTIndexUnique);
  EXPECT_EQ(XBaseDatabase::IndexFlags("unique,nounique,string"), LMTIndexString);
  EXPECT_EQ(XBaseDatabase::IndexFlags("descending, ascending, sideways"), 0);
}

}  // namespace
