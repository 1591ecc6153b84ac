#include <windows.h>

#include <algorithm>
#include <atomic>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/stop.h"

namespace app {

namespace {

std::atomic<bool> interrupted{false};

// Runs on a thread of the system's.
BOOL WINAPI Interrupt(DWORD event) {
  const bool byKey = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  const stop::Reason reason = byKey ? stop::Reason::kUser : stop::Reason::kTerminate;
  if (interrupted.exchange(true)) {
    LeftoverFile::RemoveAll();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitCodeOfStop(reason)));
  }
  stop::Request(reason);
  return TRUE;
}

void CALLBACK TimeIsOver(void*, BOOLEAN) { stop::Request(stop::Reason::kTimeout); }

}  // namespace

// The system ends a program that handles no interrupts, and its child with it.
void EndAtInterrupts() {}

void HandleInterrupts() { SetConsoleCtrlHandler(Interrupt, TRUE); }

void StopAfter(double seconds) {
  const double milliseconds = std::clamp(seconds * 1000.0, 1.0, 4294967294.0);
  HANDLE timer = nullptr;  // lives as long as the process
  CreateTimerQueueTimer(&timer, nullptr, TimeIsOver, nullptr, static_cast<DWORD>(milliseconds), 0,
                        WT_EXECUTEDEFAULT | WT_EXECUTEONLYONCE);
}

// Asked where something was dropped, which nothing is here.
stop::Reason Interruption() { return stop::Reason::kNone; }

void ForgetInterrupts() { interrupted = false; }

}  // namespace app
