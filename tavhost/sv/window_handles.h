#pragma once

#include "host/sv/forward.h"
#include "host/windows/window_handle.h"

// Windows of the class library by handles of the system (HWND): plug-ins ask for a window's handle
// and send messages to it by the Windows functions.
namespace window_handles {

// Made when it is first asked for; the same until Forget.
HWND Of(SV::Window& window);
SV::Window* Find(HWND handle);    // null when no window has it
void Forget(SV::Window& window);  // before the window goes

// Does what the message EM_SCROLLCARET asks of a window: a text control brings its selection's end
// into view, other windows do nothing. Defined where the text controls are known (system/).
void ScrollCaret(SV::Window& window);

}  // namespace window_handles
