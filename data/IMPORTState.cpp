#include "data/IMPORTState.h"

#include "core/Buffer.h"
#include "data/FlatFile.h"
#include "script/ScriptParser.h"
#include "script/Tag.h"
#include "script/TagIds.h"

IMPORTState::IMPORTState(ScriptState* parent, Tag* tag, FlatFile* flatfile, int owns)
    : ScriptState(parent, tag),
      started_(0),
      finished_(0),
      bodyposition_(parser_->buffer()->CurrentFilePosition()),
      bodyline_(parser_->line()),
      flatfile_(flatfile),
      owns_(owns) {}

IMPORTState::~IMPORTState() {
  // A state dropped without ExitState (the script failed) still closes
  // the file it opened.
  if (owns_)
    delete flatfile_;
  else if (started_)
    flatfile_->EndImport();
}

int IMPORTState::Continue() {
  if (!flatfile_->StartImport()) return RuntimeError(tag_, flatfile_->error());
  started_ = 1;
  switch (flatfile_->ImportNextRecord()) {
    case ImportRecord:
      return StateHandled;
    case ImportFinished:
      return StateLeave;
    default:
      // An empty error text means a filter expression failed, reported.
      if (flatfile_->error().empty()) return StateFailure;
      return RuntimeError(tag_, flatfile_->error());
  }
}

int IMPORTState::ProcessTag(Tag* tag) {
  int older = tag_->id() == TagIMPORT;
  if (tag->id() == tag_->closingid()) {
    int result = flatfile_->ImportNextRecord();
    if (result == ImportRecord) {
      parser_->buffer()->Seek(bodyposition_);
      parser_->SetLine(bodyline_);
      return StateHandled;
    }
    // The closing tag has been read: the loop ends here in every case.
    finished_ = 1;
    if (result == ImportFinished) return StateLeave;
    if (flatfile_->error().empty()) return StateFailure;
    return RuntimeError(tag_, flatfile_->error()) == StateFailure ? StateFailure : StateLeave;
  }
  if (!older && tag->id() == TagSnIMPORTSTOP) return StateLeave;
  if (older && tag->id() == TagIMPORT) {
    if (tag->Find("STOP") != nullptr) return StateLeave;
    if (tag->Find("DATA") != nullptr) {
      parser_->SyntaxError("&lt;IMPORT&gt; may not be nested -- use &lt;SnIMPORT&gt;");
      return StateFailure;
    }
  }
  return ScriptState::ProcessTag(tag);
}

int IMPORTState::ExitState() {
  if (started_) flatfile_->EndImport();
  if (finished_) return StateHandled;
  int older = tag_->id() == TagIMPORT;
  TagTable targets(1);
  Tag* opening = new Tag(older ? "IMPORT" : "SnIMPORT", tag_->id(), tag_->closingid());
  // An older IMPORT without DATA opens no loop, so it must not count.
  if (older) opening->AddNameValuePair("DATA", String(), 1);
  targets.Insert(opening);
  targets.Insert(new Tag(older ? "/IMPORT" : "/SnIMPORT", tag_->closingid(), 0));
  Tag* found = nullptr;
  int result = parser_->FindTag(&found, &targets);
  delete found;
  if (result == ScanEndOfFile) {
    parser_->SyntaxError(older ? "Unexpected end of file looking for &lt;/IMPORT&gt;"
                               : "Unexpected end of file looking for &lt;/SnIMPORT&gt;");
    return StateFailure;
  }
  if (result != ScanDone) return StateFailure;
  finished_ = 1;
  return StateHandled;
}
