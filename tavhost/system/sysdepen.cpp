#include "host/system/sysdepen.h"

#include "host/sv/edit.h"
#include "tavhost/base/trace.h"
#include "tavhost/sv/window_handles.h"

namespace SV {

// In a trace a handle is the window it belongs to.
HWND Sysdepen::GethWnd(Window* window) {
  trace::Call call("SV::Sysdepen::GethWnd", trace::Window(window));
  call.Result(trace::Window(window));
  return window ? window_handles::Of(*window) : nullptr;
}

}  // namespace SV

// Only text controls have a caret.
void window_handles::ScrollCaret(SV::Window& window) {
  if (auto* const edit = dynamic_cast<SV::Edit*>(&window)) edit->ShowSelection();
}
