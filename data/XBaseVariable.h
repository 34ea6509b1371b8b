// XBaseVariable and its family: the fields of a view's current record seen
// as script variables. value() reads the field's buffer afresh on each call;
// SetValue checks the text and stores it into the buffer, and nothing goes
// to disk until the view adds or updates the record.
//
// SetValue results: 1 stored; 0 refused, the field keeping its value, with
// the reason in error() (empty for the read-only totrec, recno and deleted).
//
// | Class                        | Reads                          | Assignment                     |
// |------------------------------|--------------------------------|--------------------------------|
// | XBaseVariable                | the field's text               | stored as given (cut to size)  |
// | XBaseCharVariable            | the field's text               | stored as given                |
// | XBaseNumberVariable          | the text, leading blanks gone  | digits, one point, leading '-' |
// | XBaseBoolVariable            | "1" for Y/y/T/t, else "0"      | "T" when true, else "F"        |
// | XBaseDateTimeTVariable       | local midnight as a time value | a time value: its local date   |
// | XBaseDateMonthVariable       | characters 4-5                 | 1 to 12                        |
// | XBaseDateDayVariable         | characters 6-7                 | 0 to 31                        |
// | XBaseDateYearVariable        | characters 0-3                 | 0 to 9999                      |
// | XBaseTotalRecordsVariable    | the cached record count        | refused                        |
// | XBaseRecordNumberVariable    | the current record number      | refused                        |
// | XBaseDeletedVariable         | 1 or 0                         | refused                        |
#ifndef SORN_DATA_XBASEVARIABLE_H
#define SORN_DATA_XBASEVARIABLE_H

#include "data/XBaseField.h"
#include "script/Variable.h"

class XBaseTable;

class XBaseVariable : public Variable {
 public:
  XBaseVariable(const String& name, XBaseField* field) : Variable(name, String()), field_(field) {}
  String& value() override;
  int SetValue(const String& value) override;
  XBaseField* field() const { return field_; }

 protected:
  // The field's current text, or empty.
  String FieldText() const;
  XBaseField* field_;
};

class XBaseCharVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
};

class XBaseNumberVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
};

class XBaseBoolVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
};

class XBaseDateTimeTVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
  // The stored text of a time value: its local date as YYYYMMDD, or
  // "19700101" for a negative one.
  static String ToDate(const String& value);
  // The six numbers read as a UTC clock; mktime normalises values out of
  // range.
  static long TimeFromUTC(int year, int month, int day, int hour, int minute, int second);
};

class XBaseDateMonthVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
};

class XBaseDateDayVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
};

class XBaseDateYearVariable : public XBaseVariable {
 public:
  using XBaseVariable::XBaseVariable;
  String& value() override;
  int SetValue(const String& value) override;
};

// The three record-status variables read the table, not a field.
class XBaseTableVariable : public Variable {
 public:
  XBaseTableVariable(const String& name, XBaseTable* table) : Variable(name, String()), table_(table) {}
  int SetValue(const String&) override { return 0; }

 protected:
  XBaseTable* table_;
};

class XBaseTotalRecordsVariable : public XBaseTableVariable {
 public:
  XBaseTotalRecordsVariable(XBaseTable* table) : XBaseTableVariable("totrec", table) {}
  String& value() override;
};

class XBaseRecordNumberVariable : public XBaseTableVariable {
 public:
  XBaseRecordNumberVariable(XBaseTable* table) : XBaseTableVariable("recno", table) {}
  String& value() override;
};

class XBaseDeletedVariable : public XBaseTableVariable {
 public:
  XBaseDeletedVariable(XBaseTable* table) : XBaseTableVariable("deleted", table) {}
  String& value() override;
};

#endif
