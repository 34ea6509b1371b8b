// Feeds a POP3 server's reply lines to the POP3 client through a whole session: greeting, USER, PASS, LIST,
// RETR and DELE of each message, QUIT.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "fuzz/FuzzHost.h"
#include "fuzz/MemoryConnection.h"
#include "script/POP3.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  std::string directory = host.root + "/data/pop";
  mkdir(directory.c_str(), 0700);
  char* argv[] = {(char*)host.program.c_str(), nullptr};
  CGISorn sorn(1, argv);
  if (!sorn.LoadConfiguration()) return 0;
  MemoryConnection connection(&sorn, data, size, 5);
  {
    POP3 pop3(&sorn, size > 0 && data[0] & 1);
    if (pop3.Connect(&connection) == ReplyGood && pop3.Login("user", "secret") == ReplyGood &&
        pop3.BuildMessageList() == ReplyGood) {
      POP3Message* message = nullptr;
      // The maildrop's listing may be as long as the input; a few messages
      // reach every path.
      for (int i = 0; i < 8 && pop3.GetNextMessage(&message, directory.c_str(), "pop") == 1; i++) {
        message->headers("Subject");
        if (i % 2 == 1) pop3.DeleteMessage(message);
      }
    }
  }
  if (DIR* dir = opendir(directory.c_str())) {
    while (struct dirent* entry = readdir(dir))
      if (entry->d_name[0] != '.') unlink((directory + "/" + entry->d_name).c_str());
    closedir(dir);
  }
  return 0;
}
