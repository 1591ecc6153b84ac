#include "host/windows/messages.h"

#include "tavhost/base/trace.h"
#include "tavhost/sv/window_handles.h"

// The one message that commands send; others, and windows that are not there, answer 0.
LRESULT SendMessageA(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  SV::Window* const window = window_handles::Find(handle);
  trace::Call call("SendMessageA", trace::Window(window), message,
                   static_cast<std::uint64_t>(wParam), static_cast<std::int64_t>(lParam));
  if (!window || message != EM_SCROLLCARET) return call.Result(LRESULT{0});
  window_handles::ScrollCaret(*window);
  return call.Result(LRESULT{1});
}
