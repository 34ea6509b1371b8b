#include "data/LMTIndexPageStack.h"

bool LMTIndexPageStack::CheckForRecursion(long pagenumber) {
  bool found = false;
  for (LMTIndexPage* page = Top(); page != nullptr && !found; page = Peek())
    found = page->pagenumber() == pagenumber;
  Top();
  return found;
}
