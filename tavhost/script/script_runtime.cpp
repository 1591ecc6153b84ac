#include "host/script/script_runtime.h"

#include "tavhost/base/trace.h"

TavScriptRuntime::TavScriptRuntime() {
  trace::Call call("TavScriptRuntime::TavScriptRuntime");
  call.Created("TavScriptRuntime", this);
}

TavScriptRuntime::~TavScriptRuntime() {
  trace::Call call(this, "~TavScriptRuntime");
  call.Write();
  trace::Forget(this);
}
