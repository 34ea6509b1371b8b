// MacroExpander: the script Buffer. Substitutes macros while the file is
// read, below the tag scanner, so a macro works in text, in unknown tags
// and in the attributes of known tags alike.
//
// Forms: "&[name];", "&[name]", "&amp;[name];" and "&amp;[name]", each
// optionally with "name:attribute", "name:entities" or "name:none" to
// choose the encoding of the value. The value is replayed character by
// character and is never searched for further macros.
#ifndef SORN_SCRIPT_MACROEXPANDER_H
#define SORN_SCRIPT_MACROEXPANDER_H

#include "core/Buffer.h"
#include "core/Sorn.h"
#include "core/String.h"

class MacroExpander : public Buffer {
 public:
  MacroExpander(Sorn* sorn, int size);

  // Inside a value: the file position of the macro's start, so that a
  // later Seek there expands the macro afresh.
  long CurrentFilePosition() override;
  int GetNextChar() override;
  // Within a value steps back one character; stepping back over the first
  // one puts the whole macro source back and ends the replay.
  void UnGetChar() override;
  // True while the character last read came from a macro value.
  int inmacro() override { return replay_ >= 0; }
  void SetExpandMacros(int on) override { expand_ = on ? 1 : 0; }

  // Called with the '&' consumed. True for a macro, with result the
  // (encoded) value, possibly empty; false otherwise, with everything it
  // read put back.
  virtual int CheckForMacro(String& result);

  int expandmacros() const { return expand_; }
  // How many times an '&' was looked at as a possible macro; a stretch of
  // text read while this stays unchanged holds no macro.
  long attempts() const { return attempts_; }
  // The name of the macro being replayed; empty otherwise.
  const String& macroname() const { return macroname_; }

 private:
  void EndReplay();
  MacroEncoding DefaultEncoding() const;

  int expand_;
  long attempts_ = 0;
  int replay_;
  int replaylength_;
  int sourcelength_;
  String macroname_;
  MacroEncoding encoding_;
  String value_;
};

#endif
