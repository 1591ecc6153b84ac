#include "tavhost/tools/modeling_shell.h"

#include "host/tools/modeling_shell.h"
#include "tavhost/base/trace.h"

namespace {

TavModelingShell shell;
bool exists = false;

}  // namespace

namespace modeling_shell {

void SetModelWindow(bool modelWindowExists) {
  exists = modelWindowExists;
  trace::NameFixed("TavModelingShell", &shell);
}

}  // namespace modeling_shell

TavModelingShell* TavModelingShell::GetGlobal() {
  trace::Call call("TavModelingShell::GetGlobal");
  return call.ResultObject(exists ? &shell : nullptr);
}

void TavModelingShell::UpdateAllModelWindows() {
  trace::Call call(this, "UpdateAllModelWindows");
  call.Write();
}
