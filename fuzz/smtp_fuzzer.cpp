// Feeds an SMTP server's reply lines to the SMTP client through a whole session: greeting, HELO, MAIL, RCPT,
// DATA, end, QUIT.
#include "core/Output.h"
#include "fuzz/FuzzHost.h"
#include "fuzz/MemoryConnection.h"
#include "script/SMTP.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzHost& host = FuzzHost::Get();
  char* argv[] = {(char*)host.program.c_str(), nullptr};
  CGISorn sorn(1, argv);
  if (!sorn.LoadConfiguration()) return 0;
  MemoryConnection connection(&sorn, data, size, 7);
  {
    SMTP smtp(&sorn);
    if (smtp.Connect(&connection) == ReplyGood && smtp.SendFrom("a@example.org") == ReplyGood &&
        smtp.AddRecipient("b@example.com") == ReplyGood && smtp.StartData() == ReplyGood) {
      smtp.output()->Write(".first\n..second\r\nthird\rline\n.", -1);
      smtp.EndData();
    }
  }
  return 0;
}
