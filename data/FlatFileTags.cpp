// The flat-file tags SnIMPORT and SnEXPORT, and the flat file that a
// parser keeps for the older IMPORT and EXPORT. The script layer declares
// these and only knows FlatFile by name.
#include "core/Buffer.h"
#include "data/FlatFile.h"
#include "data/IMPORTState.h"
#include "script/ScriptParser.h"
#include "script/ScriptState.h"
#include "script/Tag.h"

FlatFile* ScriptParser::flatfile() {
  if (flatfile_ == nullptr) flatfile_ = new FlatFile(this);
  return flatfile_;
}

void ScriptParser::DeleteFlatFile() {
  delete flatfile_;
  flatfile_ = nullptr;
}

int ScriptState::ProcessSnIMPORT(Tag* tag) {
  FlatFile* flatfile = new FlatFile(parser_);
  flatfile->SetImportFile(tag->Value("FILE"));
  flatfile->SetImportOrder(tag->Value("FIELDS"));
  flatfile->SetImportDelimiter(tag->Value("DELIMITER"));
  if (tag->Find("FILTER") != nullptr) flatfile->SetWHEREExpressionOffset(tag->fileposition(), tag->line());
  IMPORTState* state = new IMPORTState(this, tag, flatfile, 1);
  int result = state->Continue();
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  if (result != StateFailure) result = state->ExitState();
  delete state;
  return result;
}

int ScriptState::ProcessSnEXPORT(Tag* tag) {
  FlatFile flatfile(parser_);
  flatfile.SetExportFile(tag->Value("FILE"));
  flatfile.SetExportOrder(tag->Value("FIELDS"));
  flatfile.SetExportDelimiter(tag->Value("DELIMITER"));
  if (!flatfile.ExportRecord()) return RuntimeError(tag, flatfile.error());
  return StateHandled;
}

// The older IMPORT keeps its file, order and delimiter in the parser's flat
// file, so a tag without DATA only prepares the next import. The WHERE is
// the tag's own and is cleared when absent.
int ScriptState::ProcessIMPORT(Tag* tag) {
  FlatFile* flatfile = parser_->flatfile();
  NameValuePair* p;
  if ((p = tag->Find("FILE")) != nullptr) flatfile->SetImportFile(p->value);
  if ((p = tag->Find("ORDER")) != nullptr) flatfile->SetImportOrder(p->value);
  if ((p = tag->Find("DELIMITER")) != nullptr) flatfile->SetImportDelimiter(p->value);
  if (tag->Find("DATA") == nullptr) return StateHandled;
  if (tag->Find("WHERE") != nullptr)
    flatfile->SetWHEREExpressionOffset(tag->fileposition(), tag->line());
  else
    flatfile->SetWHEREExpressionOffset(0);
  IMPORTState* state = new IMPORTState(this, tag, flatfile, 0);
  int result = state->Continue();
  if (result == StateHandled) {
    parser_->states().Push(state);
    return result;
  }
  int exited = state->ExitState();
  if (result != StateFailure) result = exited;
  delete state;
  return result;
}

int ScriptState::ProcessEXPORT(Tag* tag) {
  FlatFile* flatfile = parser_->flatfile();
  NameValuePair* p;
  if ((p = tag->Find("FILE")) != nullptr) flatfile->SetExportFile(p->value);
  if ((p = tag->Find("ORDER")) != nullptr) flatfile->SetExportOrder(p->value);
  if ((p = tag->Find("DELIMITER")) != nullptr) flatfile->SetExportDelimiter(p->value);
  if (tag->Find("DATA") == nullptr) return StateHandled;
  if (!flatfile->ExportRecord()) return RuntimeError(tag, flatfile->error());
  return StateHandled;
}
