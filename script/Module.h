// Module: one script file being run, its macro-expanding buffer and its
// parser. The first module has no parent; SnDO opens further ones.
#ifndef SORN_SCRIPT_MODULE_H
#define SORN_SCRIPT_MODULE_H

#include "core/String.h"

class MacroExpander;
class ScriptParser;
class Sorn;

class Module {
 public:
  explicit Module(Sorn* sorn);
  explicit Module(Module* parent);
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // Opens the script at path; name is what messages show. 0 with error set.
  int Open(const String& path, const String& name, String& error);

  const String& name() const { return name_; }
  const String& directory() const { return directory_; }
  ScriptParser* parser() { return parser_; }
  MacroExpander* expander() { return expander_; }
  Module* parent() { return parent_; }

 private:
  Sorn* sorn_;
  Module* parent_;
  String name_;
  String directory_;
  MacroExpander* expander_;
  ScriptParser* parser_;
};

#endif
