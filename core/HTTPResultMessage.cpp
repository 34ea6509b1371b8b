#include "core/Sorn.h"

const char* Sorn::HTTPResultMessage(int) { return ""; }
