#include "core/Error.h"

#include <cstdio>

#include "core/Config.h"

namespace {

String AdminLine(const Config* config) {
  String s("Please contact the server administrator: ");
  if (config != nullptr) s.cat(config->serveradmin);
  return s;
}

String Located(const String& file, int line) {
  char number[16];
  snprintf(number, sizeof number, "%d", line);
  String s(file);
  s.cat(": Line ").cat(number);
  return s;
}

}  // namespace

ConfigurationError::ConfigurationError(const Config* config, const String& message)
    : Error(500, "Configuration Error: " + message + "<BR>\n" + AdminLine(config)) {}

ConfigurationSyntaxError::ConfigurationSyntaxError(const Config* config, int line, const String& message)
    : Error(500, String("Syntax error in Configuration File: ") + Located("", line).from(2) + ": " + message +
                     "<BR>\n" + AdminLine(config)) {}

RuntimeError::RuntimeError(const String& file, int line, const String& tag, const String& text)
    : Error(200, Located(file, line) + (tag.empty() ? String() : ": " + tag) + ": Runtime Error: " + text) {}

SyntaxError::SyntaxError(const String& file, int line, const String& text)
    : Error(200, Located(file, line) + ": Syntax Error: " + text) {}

ExpressionError::ExpressionError(const String& file, int line, const String& text)
    : Error(200, Located(file, line) + ": Expression Error: " + text) {}
