// IMPORTState: the loop of SnIMPORT and of the older IMPORT. The body runs
// once for each record of the flat file; the closing tag reads the next
// record and seeks the script back to the start of the body.
#ifndef SORN_DATA_IMPORTSTATE_H
#define SORN_DATA_IMPORTSTATE_H

#include "script/ScriptState.h"

class FlatFile;

class IMPORTState : public ScriptState {
 public:
  // The state owns flatfile when owns is set (SnIMPORT); the older IMPORT
  // passes the parser's shared one.
  IMPORTState(ScriptState* parent, Tag* tag, FlatFile* flatfile, int owns);
  ~IMPORTState() override;
  // Opens the file and reads the first record: 3 to run the body, 2 when
  // there is no record, 1 after a non-fatal error, 0 on failure. On any
  // result but 3 and 0 the caller runs ExitState, which skips the body.
  int Continue();
  int ProcessTag(Tag* tag) override;
  // Closes the file and, unless the closing tag was read, skips to it.
  int ExitState() override;

 private:
  int started_;
  int finished_;
  long bodyposition_;
  int bodyline_;
  FlatFile* flatfile_;
  int owns_;
};

#endif
