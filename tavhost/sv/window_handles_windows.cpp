#include "host/windows/windows.h"

#include <map>

#include "tavhost/base/never_destroyed.h"
#include "tavhost/sv/window_handles.h"

// Each window whose handle is asked for gets a window of the system's that only receives messages
// and is never shown. What the user sees belongs to the user interface, whose windows the class
// library does not know.
namespace window_handles {

namespace {

constexpr const char* kClassName = "TavhostMessageWindow";

std::map<const SV::Window*, HWND>& Handles() {
  static base::NeverDestroyed<std::map<const SV::Window*, HWND>> handles;
  return *handles;
}

LRESULT CALLBACK TakeMessage(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == EM_SCROLLCARET) {
    if (SV::Window* const window = Find(handle)) ScrollCaret(*window);
    return 1;
  }
  return DefWindowProcA(handle, message, wParam, lParam);
}

void RegisterClassOnce() {
  static const ATOM registered = [] {
    WNDCLASSA description{};
    description.lpfnWndProc = TakeMessage;
    description.hInstance = GetModuleHandleA(nullptr);
    description.lpszClassName = kClassName;
    return RegisterClassA(&description);
  }();
  static_cast<void>(registered);
}

}  // namespace

HWND Of(SV::Window& window) {
  HWND& handle = Handles()[&window];
  if (!handle) {
    RegisterClassOnce();
    handle = CreateWindowExA(0, kClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                             GetModuleHandleA(nullptr), nullptr);
    if (handle) SetWindowLongPtrA(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&window));
  }
  return handle;
}

SV::Window* Find(HWND handle) {
  return reinterpret_cast<SV::Window*>(GetWindowLongPtrA(handle, GWLP_USERDATA));
}

void Forget(SV::Window& window) {
  const auto found = Handles().find(&window);
  if (found == Handles().end()) return;
  if (found->second) DestroyWindow(found->second);
  Handles().erase(found);
}

}  // namespace window_handles
