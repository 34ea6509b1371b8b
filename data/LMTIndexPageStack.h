// LMTIndexPageStack: the path of an index cursor, from the root page at the
// bottom to the page the cursor stands on at the top. It owns its pages.
#ifndef SORN_DATA_LMTINDEXPAGESTACK_H
#define SORN_DATA_LMTINDEXPAGESTACK_H

#include "core/Stack.h"
#include "data/LMTIndexPage.h"

class LMTIndexPageStack : public Stack<LMTIndexPage> {
 public:
  LMTIndexPageStack() : Stack<LMTIndexPage>(1) {}

  // Whether a page of that number is on the path. Leaves the inner cursor
  // at the top.
  bool CheckForRecursion(long pagenumber);
};

#endif
