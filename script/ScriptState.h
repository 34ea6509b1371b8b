// ScriptState: what is open on a parser's state stack. Each tag and each
// piece of text goes first to the top state, which handles it, leaves, or
// passes it down; the base state at the bottom knows the whole tag set.
#ifndef SORN_SCRIPT_SCRIPTSTATE_H
#define SORN_SCRIPT_SCRIPTSTATE_H

#include "core/String.h"

class Database;
class DatabaseView;
class ScriptParser;
class Tag;

// Results of states and tag handlers.
enum StateResult {
  StateFailure = 0,  // stop the script; already reported
  StateDone = 1,     // handled (a non-fatal runtime error)
  StateLeave = 2,    // close this state and all above it
  StateHandled = 3,
  StatePass = 4,     // offer the tag to the state below
};

class ScriptState {
 public:
  ScriptState(ScriptParser* parser, Tag* tag);
  ScriptState(ScriptState* parent, Tag* tag);
  virtual ~ScriptState();
  ScriptState(const ScriptState&) = delete;
  ScriptState& operator=(const ScriptState&) = delete;

  virtual int ProcessTag(Tag* tag);
  virtual int ProcessText(String& text, int level);
  virtual int ExitState() { return StateHandled; }

  int Pass(Tag*) { return StatePass; }
  void ClearErrorVariable(Tag* tag);
  // Reports through the error policy; when not fatal, sets {tag}_Error to
  // the message and returns 1, else returns 0.
  int RuntimeError(Tag* tag, const String& message);

  ScriptParser* parser() const { return parser_; }
  Tag* tag() const { return tag_; }

 protected:
  // Flow control and output.
  int ProcessSnIF(Tag* tag);
  int ProcessSnLET(Tag* tag);
  int ProcessSnWHILE(Tag* tag);
  int ProcessSORN(Tag* tag);
  int ProcessSnASSIGN(Tag* tag);
  int ProcessSnEVAL(Tag* tag);
  int ProcessSnHIDE(Tag* tag);
  // The older tags without a newer counterpart: 3, or 0 after a syntax
  // error; FILE also gives what RuntimeError gave.
  int ProcessEVAL(Tag* tag);
  int ProcessHIDE(Tag* tag);
  int ProcessLOOMTEXT(Tag* tag);
  int ProcessFILE(Tag* tag);
  int ProcessSnLOCKFILE(Tag* tag);
  // Functions and modules.
  int ProcessSnFUNCTION(Tag* tag);
  int ProcessSnDO(Tag* tag);
  // Flat files; defined in data/, beside FlatFile.
  int ProcessSnIMPORT(Tag* tag);
  int ProcessSnEXPORT(Tag* tag);
  // The older forms keep FILE, ORDER and DELIMITER in the parser's flat
  // file; only a tag with DATA imports or exports.
  int ProcessIMPORT(Tag* tag);
  int ProcessEXPORT(Tag* tag);
  // Localized text.
  int ProcessSnLOCALIZED(Tag* tag);
  // Web call.
  int ProcessSnCALL(Tag* tag);
  // Mail.
  int ProcessSnSMTP(Tag* tag);
  int ProcessSnPOP(Tag* tag);
  int ProcessMAIL(Tag* tag);
  // Databases (DatabaseTags.cpp). GetDatabase finds the database of NAME
  // (or the primary one) and, when the tag has a VIEW attribute, its view;
  // on failure *database is null and the result is the handler's.
  int GetDatabase(Tag* tag, Database** database, DatabaseView** view);
  // The same, falling back to the primary view when the tag names none.
  int GetDatabaseView(Tag* tag, Database** database, DatabaseView** view);
  // The handler result of a view operation's status.
  int ViewResult(Tag* tag, DatabaseView* view, int status);
  int OpenOrCreateDatabase(Tag* tag, int create);
  int ProcessSnOPEN(Tag* tag);
  int ProcessSnCREATE(Tag* tag);
  int ProcessSnCLOSE(Tag* tag);
  // SnSKIP, SnGO, SnFIND, SnFILTER, SnUPDATE, SnDELETE, SnUNDELETE, SnADD
  // and SnREVEALSTRUCTURE: one view operation each.
  int ProcessViewTag(Tag* tag);
  int ProcessSnPRIMARY(Tag* tag);
  int ProcessSnSETINDEX(Tag* tag);
  int ProcessSnMAKEINDEX(Tag* tag);
  int ProcessSnPACK(Tag* tag);
  int ProcessSnREINDEX(Tag* tag);
  int ProcessSnOPENVIEW(Tag* tag);
  int ProcessSnCLOSEVIEW(Tag* tag);
  int ProcessSnQUERY(Tag* tag);
  // Commerce methods.
  int ProcessSnCOMMERCE(Tag* tag);

  ScriptParser* parser_;
  Tag* tag_;
};

#endif
