// Record variables over free-standing fields: the checks and conversions of
// each kind, without a table behind them.
#include "data/XBaseVariable.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <time.h>

#include <memory>
#include <string>

#include "tests/core/ScopedTimeZone.h"

namespace {

struct Field {
  Field(XBaseFieldType type, int length, int decimals = 0)
      : field(new XBaseField(nullptr, "F", type, length, decimals)) {}
  std::string data() const { return field->data(); }
  std::unique_ptr<XBaseField> field;
};

TEST(XBaseNumberVariable, IntegerAndFractionRules) {
  Field f(XBaseNUMBER, 8, 2);
  XBaseNumberVariable v("F", f.field.get());
  struct {
    const char* in;
    const char* stored;
  } cases[] = {{"12.345", "12.34"}, {"5", "5.00"}, {"", "0.00"}, {".5", "0.50"}, {"-0.125", "-0.12"},
               {"007.1", "007.10"}, {"-", "-.00"}, {"99999", "99999.00"}};
  for (auto& c : cases) {
    EXPECT_EQ(v.SetValue(c.in), 1) << c.in;
    EXPECT_EQ(f.data(), c.stored) << c.in;
    EXPECT_STREQ(v.error(), "");
  }
  EXPECT_EQ(v.SetValue("1.2.3"), 0);
  EXPECT_STREQ(v.error(), "Value\tassigned to numeric field contains more\tthan one decimal point");
  EXPECT_EQ(v.SetValue("+5"), 0);
  EXPECT_STREQ(v.error(), "Value\tassigned to numeric field contains a non-numeric character");
  EXPECT_EQ(v.SetValue("123456"), 0);
  EXPECT_STREQ(v.error(), "Value\tassigned to numeric field is too long");
  EXPECT_EQ(f.data(), "99999.00");  // refusals keep the old value
  EXPECT_EQ(v.SetValue("1"), 1);
  EXPECT_STREQ(v.error(), "");  // and the next number assignment clears the text

  Field whole(XBaseNUMBER, 3);
  XBaseNumberVariable w("W", whole.field.get());
  EXPECT_EQ(w.SetValue("-"), 1);
  EXPECT_EQ(whole.data(), "-");  // the sign alone is kept as written
  EXPECT_EQ(w.SetValue("12.9"), 1);
  EXPECT_EQ(whole.data(), "12");
  // Reading drops leading blanks only.
  f.field->Set(String("  42 "));
  EXPECT_STREQ(v.value(), "42 ");
}

TEST(XBaseBoolVariable, StoresByTruthReadsByLetter) {
  Field f(XBaseBOOL, 1);
  XBaseBoolVariable v("F", f.field.get());
  for (const char* t : {"yes", "no", "F", " 0", "false", "", "0", "00", "0.00"}) {
    v.SetValue(t);
    bool zero = *t == '\0' || *t == '0';
    EXPECT_EQ(f.data() + std::string(v.value()), zero ? "F0" : "T1") << t;
  }
  std::string reads;
  for (const char* letter : {"Y", "y", "t", "N", " ", "?"}) {
    f.field->Set(String(letter));
    reads += v.value();
  }
  EXPECT_EQ(reads, "111000");
}

TEST(XBaseDateVariables, PartsShareTheEightBytes) {
  ScopedTimeZone utc("UTC");
  Field f(XBaseDATE, 8);
  XBaseDateTimeTVariable t("F", f.field.get());
  XBaseDateYearVariable year("F_year", f.field.get());
  XBaseDateMonthVariable month("F_month", f.field.get());
  XBaseDateDayVariable day("F_day", f.field.get());
  EXPECT_EQ(t.SetValue("1709337599"), 1);  // 2024-03-01 23:59:59 UTC
  EXPECT_EQ(f.data(), "20240301");
  EXPECT_STREQ(t.value(), "1709251200");
  EXPECT_STREQ(month.value(), "03");
  EXPECT_EQ(month.SetValue("12"), 1);
  EXPECT_EQ(day.SetValue("5"), 1);
  EXPECT_EQ(year.SetValue("1999"), 1);
  EXPECT_EQ(f.data(), "19991205");
  EXPECT_EQ(month.SetValue("13"), 0);
  EXPECT_STREQ(month.error(), "Invalid month");
  EXPECT_EQ(day.SetValue("32"), 0);
  EXPECT_STREQ(day.error(), "Invalid day");
  EXPECT_EQ(day.SetValue("0"), 1);  // day 0 is let through
  EXPECT_EQ(year.SetValue("10000"), 0);
  EXPECT_STREQ(year.error(), "Invalid year");
  EXPECT_EQ(t.SetValue("-5"), 0);
  EXPECT_STREQ(t.error(), "Value\tassigned to date field contains\ta non-numeric character");
  EXPECT_EQ(f.data(), "19991200");
  // A blank field keeps its blanks around a part that is set.
  f.field->Set(String("        "));
  EXPECT_STREQ(year.value(), "    ");
  EXPECT_EQ(month.SetValue("7"), 1);
  EXPECT_EQ(f.data(), "    07  ");
}

TEST(XBaseDateVariables, DatesFollowTheLocalZone) {
  {
    ScopedTimeZone east("Asia/Tokyo");  // UTC+9, no daylight saving
    // 1 March 2024 00:30 local is still 29 February in UTC.
    EXPECT_STREQ(XBaseDateTimeTVariable::ToDate("1709220600"), "20240301");
    Field f(XBaseDATE, 8);
    f.field->Set(String("20240301"));
    XBaseDateTimeTVariable t("F", f.field.get());
    EXPECT_STREQ(t.value(), "1709218800");  // midnight of that day in Tokyo
  }
  ScopedTimeZone utc("UTC");
  EXPECT_STREQ(XBaseDateTimeTVariable::ToDate("-1"), "19700101");
  EXPECT_STREQ(XBaseDateTimeTVariable::ToDate(""), "19700101");
}

}  // namespace
