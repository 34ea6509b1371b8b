// ScriptParser: the Parser of the script language. It holds the tag table,
// turns attribute values into text by evaluating them as expressions,
// decides which text reaches the output, and owns the execution context of
// one module: output sink, state stack, functions and error policy.
#ifndef SORN_SCRIPT_SCRIPTPARSER_H
#define SORN_SCRIPT_SCRIPTPARSER_H

#include <vector>

#include "core/Stack.h"
#include "script/Function.h"
#include "script/Parser.h"
#include "script/TagCache.h"
#include "script/Variables.h"

class ErrorHandler;
class FlatFile;
class MacroExpander;
class Output;
class ScriptState;
class Variables;
class VariableTree;

// Standard output level bits.
enum OutputLevel {
  OutputSorn = 1,
  OutputHTML = 2,
  OutputText = 4,
  OutputCompressWhitespace = 8,
};

// Interpret flags.
enum InterpretFlag { InterpretMacros = 1, InterpretTags = 2 };

class ScriptParser : public Parser {
 public:
  ScriptParser(Sorn* sorn, MacroExpander* expander);
  ScriptParser(ScriptParser* parent, MacroExpander* expander);
  ~ScriptParser() override;

  void SetupSupportedTags() override;
  // Templates are made from the static table when a name is first met.
  Tag* FindTemplate(const String& name) override;
  int GetNameValuePairs(Tag* tag) override;
  int GetValue(Tag* tag, const String& name, String& value) override;
  int ProcessKnownTag(Tag* tag) override;
  int ProcessUnknownTag(String& text) override;
  int ProcessText(String& text) override;
  int ProcessNewLine(String& line) override;
  int ProcessEmptyValue(Tag* tag, const String& name, String& value) override;
  int ProcessCachedTag(long start, int* result) override;
  int RunCachedTag(TagCache::Entry* entry, Tag* tag, int reused);
  int ReadTag(Tag* model, Tag* tag, long start) override;
  // Declares the built-ins before the first use of the function tree, in
  // table order, so the tree grows as if they came first: a page that
  // calls no function never makes them.
  void SetupBuiltinFunctions();
  // The attributes of the older IMPORT and EXPORT: names may stand bare
  // (their value is their name), and WHERE ends the tag, its expression
  // left unread with its position kept in the tag. Results as
  // GetNameValuePairs.
  virtual int GetFlatFileNameValuePairs(Tag* tag);
  virtual int GetNextFlatFileNameValuePair(Tag* tag);

  void SetTagDetect(int on);
  void SetExpandMacros(int on);
  int ExpandMacros() const { return interpret_ & InterpretMacros; }
  void SetInterpret(const String& list);
  int SetStandardOutputLevel(int level);
  int standardoutputlevel() const { return outputlevel_; }
  int SetErrorOutputLevel(int level);
  int erroroutputlevel() const;
  void SetErrorMessage(const String& message);
  static int StandardOutputLevelValue(const String& list);
  static int ErrorOutputLevelValue(const String& list);
  void SetDefaultMacroEncoding(const String& name);
  void SetTagErrorSettings(const String& tag, const String& list);
  Output* SwitchOutput(Output* output);
  Output* output() const { return output_; }

  // Errors at the current line through the error policy. The first two
  // ignore the policy's answer (the caller fails anyway); RuntimeError
  // returns 1 when the error is not fatal.
  void SyntaxError(const String& message);
  void ExpressionError(const String& message);
  int RuntimeError(Tag* tag, const String& message);
  // Reports a time-out when the deadline passed or a signal came.
  int CheckTimeout();

  // Functions.
  Function* FindFunction(const String& name) {
    SetupBuiltinFunctions();
    return functions_.Find(name);
  }
  void AddFunction(Function* function) {
    SetupBuiltinFunctions();
    functions_.Insert(function);
  }
  int ScanForFunction(const String& name);
  int CallFunction(Function* function, VariableTree* locals, String& result);
  int PushFunctionCall();
  void PopFunctionCall() { depth_--; }
  String& functionreturn() { return functionreturn_; }

  // The flat file that the older IMPORT and EXPORT share for the whole
  // parser, made on first use. It lives in data/, beside FlatFile.
  FlatFile* flatfile();

  Stack<ScriptState>& states() { return states_; }
  ScriptState* basestate() { return basestate_; }
  Variables* vars() { return vars_; }
  ErrorHandler* errorhandler() { return errorhandler_; }
  MacroExpander* expander();
  int& lookahead() { return lookahead_; }
  TagCache& cache() { return cache_; }
  // Scratch text for the name of a tag's error variable.
  String& errorname() { return errorname_; }
  // Where the error variable of the tags with this id was found: cleared
  // before every tag, it is the most looked-up variable of all.
  NamedSlot* errorslot(int id);
  // Whether text read from now on can be kept: macros are expanded and the
  // buffer is not inside a macro's value.
  int Cacheable();
  // Reads the expression that stands at position in the script (a loop's
  // condition, an import's filter) and resolves it into value, then goes
  // back to where the scan was. Messages name the given line. 1, or 0
  // after a reported error.
  int EvaluateAt(long position, int line, String& value);

 private:
  ScriptParser(Sorn* sorn, MacroExpander* expander, ScriptParser* parent);
  // Offers text or a tag to the states from the top down.
  int Dispatch(Tag* tag, String* text);

  // Defined beside FlatFile, so that this layer needs only its name.
  void DeleteFlatFile();

  ScriptParser* parent_;
  Output* output_;
  FlatFile* flatfile_;
  ErrorHandler* errorhandler_;
  int lookahead_;
  String functionreturn_;
  ScriptState* basestate_;
  Stack<ScriptState> states_;
  Variables* vars_;
  SplayTree<Function> functions_;
  int builtinsdeclared_ = 0;
  int interpret_;
  int outputlevel_;
  int depth_;
  TagCache cache_;
  String errorname_;
  std::vector<NamedSlot> errorslots_;
  // The script as it was when its tags began to be kept: when the engine
  // itself writes to it, what was kept no longer reads as the text does,
  // and nothing more is kept or used.
  String signature_;
  unsigned long changesseen_ = 0;
  int signed_ = 0;
  int scriptchanged_ = 0;
  TagCache::Entry* recording_;
};

#endif
