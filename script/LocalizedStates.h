// The states of localized text. An SnLOCALIZED block holds the same text
// in several languages: LocalizedState picks the variant of the request's
// language as the scanner meets it, notes where the first variant of the
// default language stands, and goes back there at the closing tag when no
// variant matched. LocalizedTextState is open inside the chosen variant.
#ifndef SORN_SCRIPT_LOCALIZEDSTATES_H
#define SORN_SCRIPT_LOCALIZEDSTATES_H

#include "script/ScriptState.h"
#include "script/Variable.h"

class Output;
class StringOutput;

class LocalizedState : public ScriptState {
 public:
  // Markers of a level that the tag did not give.
  enum { kNoLevel = 255, kNoErrorLevel = 0x7F000000 };

  // Applies the output levels given (a named block without a level of its
  // own compresses white space); ExitState puts the old ones back.
  LocalizedState(ScriptState* parent, Tag* tag, const String& name, const String& id, int level,
                 int errorlevel);
  ~LocalizedState() override;
  // Only tokens, variants and the closing tag may stand in a block.
  int ProcessTag(Tag* tag) override;
  int ExitState() override;

  virtual int ProcessSnLOCALIZED_TOKEN(Tag* tag);
  // Enters the variant of the request's language, or skips the variant.
  virtual int ProcessSnLOCALIZED_TEXT(Tag* tag);

 private:
  void RestoreLevels();

  String name_;
  String id_;
  VariableTree tokens_;
  int matched_;
  int defaultseen_;
  long defaultposition_;
  int defaultline_;
  int savedlevel_;
  int savederrorlevel_;
  int levelchanged_;
  int errorlevelchanged_;
};

class LocalizedTextState : public ScriptState {
 public:
  // With a variable name the variant's text is captured for it.
  LocalizedTextState(ScriptState* parent, Tag* tag, const String& name, VariableTree* tokens);
  ~LocalizedTextState() override;
  // Only the closing tag may stand in a variant.
  int ProcessTag(Tag* tag) override;
  // Writes the text with %name% replaced by the token's value and %% by %.
  int ProcessText(String& text, int level) override;
  // Stores a captured text in its variable and restores the output.
  int ExitState() override;

  // The text with its tokens replaced; a token's value is not searched.
  static String ReplaceTokens(const String& text, VariableTree* tokens);

 private:
  void RestoreOutput();

  String name_;
  Output* savedoutput_;
  StringOutput* capture_;
  VariableTree* tokens_;
};

#endif
