// The variables that the engine itself publishes at the start of a request.
#include <cstdio>

#include "core/Sorn.h"
#include "core/Config.h"
#include "script/DynamicVariable.h"
#include "script/Variables.h"

int Sorn::AddSystemVariables() {
  vars()->AddSystemVariable("version", "3.7600");
  vars()->AddSystemVariable("sornversion", "3.7600");
  AddTimeSnapshotVariables(vars());
  vars()->AddSystemVariable("globaltimeout", Decimal(config()->globaltimeout));
  AddDynamicVariables(this, vars());
  return 1;
}
