/* The CGI floor: the least a CGI program can do for the hello page. It
   writes the same header block and page as bench/scripts/hello.sn, with the
   one dynamic value computed at run time. Built with the system C compiler
   against the dynamic C library. */
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  const char *six = getenv("BENCH_SIX"); /* unset: 6 */
  int a = six != NULL ? atoi(six) : 6;
  fputs("Content-type: text/html\r\n\r\n", stdout);
  printf("<HTML>\n<HEAD><TITLE>Hello</TITLE></HEAD>\n<BODY>\n<H1>Hello, world</H1>\n"
         "<P>Six times seven is %d.</P>\n</BODY>\n</HTML>\n", a * 7);
  return 0;
}
