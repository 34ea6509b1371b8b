// Runs the sorn program built beside the test binary as a CGI request of
// its own, on a configuration and script written into a directory, and
// measures it: for what only a whole process shows (its peak memory).
#ifndef SORN_TESTS_SCRIPT_ENGINEPROCESS_H
#define SORN_TESTS_SCRIPT_ENGINEPROCESS_H

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

// The first 256 bytes of the page, or "<no engine>" when the program is
// not there; usage gets the process's resource counts.
inline std::string RunEngineProcess(const std::string& dir, const std::string& conf, const std::string& script,
                                    struct rusage* usage) {
  char exe[4096];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return "<no engine>";
  exe[n] = 0;
  std::string engine = std::string(exe).substr(0, std::string(exe).rfind('/')) + "/sorn";
  if (access(engine.c_str(), X_OK) != 0) return "<no engine>";
  for (auto& file : {std::make_pair(dir + "/sorn.conf", conf), std::make_pair(dir + "/t.sn", script)}) {
    FILE* f = fopen(file.first.c_str(), "w");
    if (f == nullptr) return "<no directory>";
    fwrite(file.second.data(), 1, file.second.size(), f);
    fclose(f);
  }
  std::string out = dir + "/out";
  pid_t child = fork();
  if (child < 0) return "<no process>";
  if (child == 0) {
    int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(fd, 1);
    std::string argv0 = dir + "/sorn";
    char* argv[] = {(char*)argv0.c_str(), nullptr};
    char* env[] = {(char*)"PATH_INFO=/t.sn", (char*)"REQUEST_METHOD=GET", (char*)"QUERY_STRING=", nullptr};
    execve(engine.c_str(), argv, env);
    _exit(127);
  }
  int status = 0;
  if (wait4(child, &status, 0, usage) != child) return "<lost process>";
  std::string page;
  if (FILE* f = fopen(out.c_str(), "r")) {
    char block[256];
    page.assign(block, fread(block, 1, sizeof block, f));
    fclose(f);
  }
  for (const char* name : {"/sorn.conf", "/t.sn", "/out"}) unlink((dir + name).c_str());
  return page;
}

#endif
