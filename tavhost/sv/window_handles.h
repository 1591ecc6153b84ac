#pragma once

#include "host/sv/forward.h"
#include "host/windows/window_handle.h"

// Windows by handles of the system, for messages that are sent to them. The handle is made when it
// is first asked for.
namespace window_handles {

HWND Of(SV::Window& window);
SV::Window* Find(HWND handle);    // null when no window has it
void Forget(SV::Window& window);  // before the window goes

// What EM_SCROLLCARET means to a window: a text control brings its selection's end into view.
void ScrollCaret(SV::Window& window);

}  // namespace window_handles
