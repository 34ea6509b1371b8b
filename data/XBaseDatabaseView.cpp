#include "data/XBaseDatabaseView.h"

#include <cstdio>
#include <cstring>

#include "core/Sorn.h"
#include "data/XBaseVariable.h"
#include "script/Expression.h"
#include "script/ScriptParser.h"
#include "script/Variables.h"

XBaseDatabaseView::XBaseDatabaseView(ScriptParser* parser, const String& name, XBaseTable* table,
                                     SearchableList<XBaseIndex>* indexes)
    : DatabaseView(parser, name), table_(table), indexes_(indexes), filter_(nullptr), variables_(1) {}

XBaseDatabaseView::~XBaseDatabaseView() { delete filter_; }

void XBaseDatabaseView::SetupCurrentRecord(XBaseTable* table) {
  variables_.Dump();
  variables_.Insert(new Variable("EOF", "1"));
  variables_.Insert(new XBaseTotalRecordsVariable(table));
  variables_.Insert(new XBaseRecordNumberVariable(table));
  variables_.Insert(new XBaseDeletedVariable(table));
  List<XBaseField>* fields = table->fields();
  for (XBaseField* field = fields->First(); field != nullptr; field = fields->Next()) {
    String name(field->name());
    switch (field->type()) {
      case XBaseNUMBER:
        variables_.Insert(new XBaseNumberVariable(name, field));
        break;
      case XBaseBOOL:
        variables_.Insert(new XBaseBoolVariable(name, field));
        break;
      case XBaseDATE:
        variables_.Insert(new XBaseDateTimeTVariable(name, field));
        variables_.Insert(new XBaseDateMonthVariable(name + "_month", field));
        variables_.Insert(new XBaseDateDayVariable(name + "_day", field));
        variables_.Insert(new XBaseDateYearVariable(name + "_year", field));
        variables_.Insert(new XBaseVariable(name + "_raw", field));
        break;
      default:
        variables_.Insert(new XBaseCharVariable(name, field));
        break;
    }
  }
}

void XBaseDatabaseView::SetEOF(int flag) {
  Variable* eof = variables_.Find("EOF");
  if (eof != nullptr) eof->SetValue(flag ? "1" : "0");
}

int XBaseDatabaseView::Resolve(Expression* expression, String& result) {
  if (expression == nullptr) return 0;
  Variables* vars = parser_->vars();
  vars->PushSystemVars(&variables_);
  int ok = expression->Resolve(result);
  vars->PopSystemVars();
  return ok;
}

int XBaseDatabaseView::Key(XBaseIndex* index, String& key) {
  if (!Resolve(index->expression(), key)) {
    Error("Error in the key expression of index '" + index->displayname() + "'");
    return 0;
  }
  return 1;
}

int XBaseDatabaseView::Passes(int* passes) {
  *passes = 1;
  if (filter_ == nullptr) return 1;
  String result;
  if (!Resolve(filter_, result)) {
    Error("Error in the filter expression");
    return 0;
  }
  *passes = Expression::IsTrue(result);
  return 1;
}

int XBaseDatabaseView::Goto(long record) {
  if (table_->Goto(record)) return 1;
  Error(table_->error());
  return 0;
}

int XBaseDatabaseView::Advance(int forward, long* record) {
  XBaseIndex* index = PrimaryIndex();
  if (index != nullptr) {
    int ok = forward ? index->Next(record) : index->Prev(record);
    if (!ok) Error(index->error());
    return ok;
  }
  long current = table_->recno();
  if (forward) {
    *record = current + 1;
    if (*record > (long)table_->recordcount()) *record = 0;
  } else {
    *record = current > 0 ? current - 1 : 0;
  }
  return 1;
}

int XBaseDatabaseView::Finish(int status) {
  SetEOF(status == ViewEndOfFile);
  return status;
}

int XBaseDatabaseView::SeekVisible(int forward) {
  for (;;) {
    int passes = 0;
    if (!Passes(&passes)) return ViewFailure;
    if (passes) return ViewDone;
    long record = 0;
    if (!Advance(forward, &record)) return ViewFailure;
    if (record < 1 || record > (long)table_->recordcount()) return ViewEndOfFile;
    if (!Goto(record)) return ViewFailure;
  }
}

int XBaseDatabaseView::Skip(long rows) {
  if (rows == 0) return ViewDone;
  int forward = rows > 0;
  long wanted = forward ? rows : -rows;
  long counted = 0;
  int status = ViewDone;
  while (status == ViewDone && counted < wanted) {
    long record = 0;
    if (!Advance(forward, &record)) {
      status = ViewFailure;
    } else if (record == 0) {
      status = ViewEndOfFile;
    } else if (!Goto(record)) {
      status = ViewFailure;
    } else {
      int passes = 0;
      if (!Passes(&passes))
        status = ViewFailure;
      else if (passes)
        counted++;
    }
  }
  return Finish(status);
}

int XBaseDatabaseView::Go(long row) {
  XBaseIndex* index = PrimaryIndex();
  long count = (long)table_->recordcount();
  long record = 0;
  if (row == ViewTop || row == ViewBottom) {
    int top = row == ViewTop;
    if (index != nullptr) {
      int ok = top ? index->First(&record) : index->Last(&record);
      if (!ok) {
        Error(index->error());
        return Finish(ViewFailure);
      }
    } else {
      record = top ? 1 : count;
    }
    if (record < 1 || record > count) return Finish(ViewEndOfFile);
    if (!Goto(record)) return Finish(ViewFailure);
    return Finish(SeekVisible(top));
  }
  if (row < 1 || row > count) return Finish(ViewEndOfFile);
  if (!Goto(row)) return Finish(ViewFailure);
  int passes = 0;
  if (!Passes(&passes)) return Finish(ViewFailure);
  if (!passes) return Finish(ViewEndOfFile);
  if (index != nullptr) {
    // The index's cursor goes onto this very record, so that Skip carries
    // on from here in key order.
    String key;
    if (!Key(index, key)) return Finish(ViewFailure);
    if (!index->Seek(key, row)) {
      Error(index->error());
      return Finish(ViewFailure);
    }
  }
  return Finish(ViewDone);
}

int XBaseDatabaseView::Find(const String& key, int exact) {
  XBaseIndex* index = PrimaryIndex();
  if (index == nullptr) {
    Error("Database has no\topen indexes");
    return ViewFailure;
  }
  long record = 0;
  if (!index->Find(key, exact, &record)) {
    Error(index->error());
    return Finish(ViewFailure);
  }
  if (record < 1 || record > (long)table_->recordcount()) return Finish(ViewEndOfFile);
  if (!Goto(record)) return Finish(ViewFailure);
  if (filter_ == nullptr) return Finish(ViewDone);
  for (;;) {
    int passes = 0;
    if (!Passes(&passes)) return Finish(ViewFailure);
    if (passes) return Finish(ViewDone);
    if (!index->Next(&record)) {
      Error(index->error());
      return Finish(ViewFailure);
    }
    if (record < 1 || record > (long)table_->recordcount()) return Finish(ViewEndOfFile);
    if (!Goto(record)) return Finish(ViewFailure);
    // The run of matching keys is over at the first key that differs.
    String found;
    if (!Key(index, found)) return Finish(ViewFailure);
    if (LMTIndexFile::Compare(key.chars(), found.chars(), exact, index->flags()) != 0)
      return Finish(ViewEndOfFile);
  }
}

int XBaseDatabaseView::Add() {
  if (!table_->Append()) {
    Error(table_->error());
    return ViewFailure;
  }
  long record = table_->recno();
  for (XBaseIndex* index = indexes_->First(); index != nullptr; index = indexes_->Next()) {
    String key;
    if (!Key(index, key)) return ViewFailure;
    if (!index->Insert(record, key)) {
      Error(index->error());
      return ViewFailure;
    }
  }
  return Go(record);
}

int XBaseDatabaseView::Update() {
  long record = table_->recno();
  for (XBaseIndex* index = indexes_->First(); index != nullptr; index = indexes_->Next()) {
    String newkey, oldkey;
    if (!Key(index, newkey)) return ViewFailure;
    table_->SwapOriginal();
    int ok = Key(index, oldkey);
    table_->SwapOriginal();
    if (!ok) return ViewFailure;
    if (strcmp(newkey.chars(), oldkey.chars()) == 0) continue;
    if (!index->Delete(record, oldkey) || !index->Insert(record, newkey) || !index->Seek(newkey, record)) {
      Error(index->error());
      return ViewFailure;
    }
  }
  if (!table_->Update()) {
    Error(table_->error());
    return ViewFailure;
  }
  return ViewDone;
}

int XBaseDatabaseView::Delete() {
  if (table_->UpdateDeleted(1)) return ViewDone;
  Error(table_->error());
  return ViewFailure;
}

int XBaseDatabaseView::UnDelete() {
  if (table_->UpdateDeleted(0)) return ViewDone;
  Error(table_->error());
  return ViewFailure;
}

int XBaseDatabaseView::Open() {
  SetupCurrentRecord(table_);
  delete filter_;
  filter_ = nullptr;
  if (!filtertext_.empty()) {
    Expression* filter = new Expression(parser_);
    if (filter->ReadTokenized(filtertext_, nullptr, ' ', '\0') != ExpressionReadAll) {
      delete filter;
      Error("Error in the filter expression");
      return ViewFailure;
    }
    filter_ = filter;
  }
  return Go(ViewTop);
}

int XBaseDatabaseView::Close() {
  variables_.Dump();
  return 1;
}

int XBaseDatabaseView::SetFilter(const String& text) {
  filtertext_ = text;
  return Open();
}

int XBaseDatabaseView::RevealStructure(const String& path) {
  String resolved, message;
  if (!parser_->sorn()->ResolvePath(path, resolved, DataPath, message)) {
    Error(message);
    return ViewFailure;
  }
  List<XBaseField> fields;
  fields.Insert(new XBaseField(nullptr, "FIELD_NAME", XBaseCHAR, 10, 0));
  fields.Insert(new XBaseField(nullptr, "FIELD_TYPE", XBaseCHAR, 1, 0));
  fields.Insert(new XBaseField(nullptr, "FIELD_LEN", XBaseNUMBER, 4, 0));
  fields.Insert(new XBaseField(nullptr, "FIELD_DEC", XBaseNUMBER, 4, 0));
  XBaseTable structure(parser_->sorn());
  if (!structure.Create(resolved, path, String(), String(), fields)) {
    Error(structure.error());
    return ViewFailure;
  }
  List<XBaseField>* described = table_->fields();
  List<XBaseField>* out = structure.fields();
  for (XBaseField* field = described->First(); field != nullptr; field = described->Next()) {
    char letter[2] = {XBaseFieldLetter(field->type()), 0};
    XBaseField* column = out->First();
    column->Set(String(field->name()));
    out->Next()->Set(String(letter));
    out->Next()->Set(Decimal(field->length()));
    out->Next()->Set(Decimal(field->decimalcount()));
    if (!structure.Append()) {
      Error(structure.error());
      structure.Close();
      return ViewFailure;
    }
  }
  structure.Close();
  return ViewDone;
}
