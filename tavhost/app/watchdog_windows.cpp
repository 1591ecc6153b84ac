#include <windows.h>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/watchdog.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/uncut_work.h"

// A timer of the system's, whose work runs on a thread of the system's; the user-interface thread
// is held while that looks at it.
namespace app {

namespace {

HANDLE userInterface = nullptr;
PTP_TIMER timer = nullptr;
char room[4096];
std::string_view line;  // in the room

void SetTimer(int seconds) noexcept {
  constexpr LONGLONG kSecond = 10'000'000;  // in units of 100 ns; below 0: from now on
  LARGE_INTEGER time;
  time.QuadPart = -seconds * kSecond;
  FILETIME due{time.LowPart, static_cast<DWORD>(time.HighPart)};
  SetThreadpoolTimer(timer, &due, 0, 0);
}

void Begin() noexcept { SetTimer(kWatchdogPatience); }
void End() noexcept { SetThreadpoolTimer(timer, nullptr, 0, 0); }

DWORD WINAPI FlushAndTell(void*) {
  standard_write::FlushOutputIfFree();
  report::LineAtCrash(line);
  return 0;
}

void CALLBACK Look(PTP_CALLBACK_INSTANCE, void*, PTP_TIMER) {
  const stop::Reason reason = stop::Watched();
  if (reason == stop::Reason::kNone) return;
  if (base::UncutWork::Current()) return SetTimer(kWatchdogAgain);
  SuspendThread(userInterface);
  line = WatchdogLine(room, sizeof room);
  ResumeThread(userInterface);
  if (line.empty()) return SetTimer(kWatchdogAgain);
  LeftoverFile::RemoveAll();
  // Both can be held by a pipe that nobody reads.
  if (const HANDLE writer = CreateThread(nullptr, 0, FlushAndTell, nullptr, 0, nullptr)) {
    WaitForSingleObject(writer, kWatchdogWriting * 1000);
  }
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitCodeOfStop(reason)));
}

}  // namespace

void StartWatchdog() {
  if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &userInterface,
                       0, FALSE, DUPLICATE_SAME_ACCESS)) {
    return;
  }
  timer = CreateThreadpoolTimer(Look, nullptr, nullptr);
  if (timer) stop::SetWatch({Begin, End});
}

// The timer's work has a thread of its own as it is.
void WatchFromAside() {}

}  // namespace app
