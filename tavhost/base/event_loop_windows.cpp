#include <windows.h>

#include "tavhost/base/event_loop.h"

namespace event_loop {

namespace {

// The thread that runs the static initialisers is the user-interface thread. Asking for a message
// gives it a message queue, without which nothing can be posted to it.
DWORD MakeMessageQueue() {
  MSG message;
  PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
  return GetCurrentThreadId();
}
const DWORD userInterfaceThread = MakeMessageQueue();

}  // namespace

// A message without meaning: it also ends those waits for messages that commands begin themselves.
void WakeUp() noexcept { PostThreadMessageW(userInterfaceThread, WM_NULL, 0, 0); }

void WaitForWakeUp(unsigned milliseconds) {
  MsgWaitForMultipleObjectsEx(0, nullptr, milliseconds, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
}

// Takes the messages of WakeUp, which belong to the thread and to no window (-1), and no others.
void ClearWakeUp() {
  MSG message;
  while (PeekMessageW(&message, reinterpret_cast<HWND>(-1), WM_NULL, WM_NULL, PM_REMOVE)) {
  }
}

void ProcessSystemMessages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

int WakeUpDescriptor() { return -1; }

}  // namespace event_loop
