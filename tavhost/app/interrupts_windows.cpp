#include <windows.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/standard_write.h"
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

std::atomic<bool> hasScripts{false};  // there are scripts that could be stopped

DWORD WINAPI FlushAndTell(void* line) {
  standard_write::FlushOutputIfFree();
  standard_write::Error(*static_cast<const std::string*>(line));
  return 0;
}

// Either can be held by a pipe that nobody reads, and what is printed just then.
void EndByTime(std::string& line) {
  if (const HANDLE writer = CreateThread(nullptr, 0, FlushAndTell, &line, 0, nullptr)) {
    WaitForSingleObject(writer, standard_write::kPatience);
  }
  LeftoverFile::RemoveAll();
  TerminateProcess(GetCurrentProcess(), kExitTimeout);
}

// On a thread of the system's.
void CALLBACK TimeIsOver(void* line, BOOLEAN) {
  if (!hasScripts) EndByTime(*static_cast<std::string*>(line));
  stop::Request(stop::Reason::kTimeout);
}

}  // namespace

// The system ends a program that handles no interrupts, and its child with it.
void EndAtInterrupts() {}

void HandleInterrupts() {
  hasScripts = true;
  SetConsoleCtrlHandler(Interrupt, TRUE);
}

void LimitTime(double seconds, std::string line) {
  auto* const kept = new std::string(std::move(line));  // lives as long as the process
  const double milliseconds = std::clamp(seconds * 1000.0, 1.0, 4294967294.0);
  HANDLE timer = nullptr;  // lives as long as the process
  CreateTimerQueueTimer(&timer, nullptr, TimeIsOver, kept, static_cast<DWORD>(milliseconds), 0,
                        WT_EXECUTEDEFAULT | WT_EXECUTEONLYONCE);
}

// Asked where something was dropped, which nothing is here.
stop::Reason Interruption() { return stop::Reason::kNone; }

void ForgetInterrupts() { interrupted = false; }

}  // namespace app
