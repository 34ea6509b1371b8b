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
