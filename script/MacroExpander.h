// MacroExpander: the script Buffer; substitutes macros below the scanner.
#ifndef SORN_SCRIPT_MACROEXPANDER_H
#define SORN_SCRIPT_MACROEXPANDER_H

#include "core/Buffer.h"

class MacroExpander : public Buffer {
 public:
  MacroExpander(Sorn* sorn, int size) : Buffer(sorn, size) {}
};

#endif
