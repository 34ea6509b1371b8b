// ScriptParser: runs one module's script text.
#ifndef SORN_SCRIPT_SCRIPTPARSER_H
#define SORN_SCRIPT_SCRIPTPARSER_H

class Buffer;
class Output;
class Sorn;

class ScriptParser {
 public:
  ScriptParser(Sorn* sorn, Buffer* buffer);
  ScriptParser(ScriptParser* parent, Buffer* buffer);
  virtual ~ScriptParser() {}

  virtual int Parse();

 private:
  Sorn* sorn_;
  Buffer* buffer_;
  Output* output_;
};

#endif
