// Runs a script text through the scanner and parser on a TestHost and
// returns the page.
#ifndef SORN_TESTS_SCRIPT_RUNSCRIPT_H
#define SORN_TESTS_SCRIPT_RUNSCRIPT_H

#include <cstdio>
#include <string>

#include "script/MacroExpander.h"
#include "script/ScriptParser.h"
#include "tests/host/TestHost.h"

inline std::string RunScript(TestHost& host, const std::string& text, int blocksize = 5) {
  std::string path = host.directory_ + "/t.sn";
  FILE* f = fopen(path.c_str(), "w");
  fwrite(text.data(), 1, text.size(), f);
  fclose(f);
  MacroExpander expander(&host, blocksize);
  if (!expander.Open(path.c_str(), "t.sn")) return "cannot open";
  ScriptParser parser(&host, &expander);
  parser.Parse();
  unlink(path.c_str());
  return host.text();
}

inline std::string RunScript(const std::string& text, int blocksize = 5) {
  TestHost host;
  return RunScript(host, text, blocksize);
}

#endif
