#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/watchdog.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/uncut_work.h"

// A timer whose signal comes to the user-interface thread alone: its handler runs in the middle of
// the code that does not return, so that nothing it looks at can change meanwhile.
namespace app {

namespace {

enum class Phase : std::uint8_t { kWatching, kFlushing, kTelling };

timer_t timer;
volatile Phase phase = Phase::kWatching;

void SetTimer(int seconds) noexcept {
  itimerspec time{};
  time.it_value.tv_sec = seconds;
  timer_settime(timer, 0, &time, nullptr);
}

volatile bool hasToldOfFile = false;

void Begin() noexcept {
  hasToldOfFile = false;
  SetTimer(kWatchdogPatience);
}
void End() noexcept { SetTimer(0); }

// Each phase but the first can be held by a pipe that nobody reads; the timer then comes into the
// middle of it and goes on with the next.
void Look(int) {
  const int kept = errno;
  static char room[4096];
  const std::string_view line = WatchdogLine(room, sizeof room);
  const stop::Reason reason = stop::Watched();
  if (phase == Phase::kWatching) {
    if (const char* const file = base::UncutWork::Current()) {
      SetTimer(kWatchdogAgain);
      if (!hasToldOfFile) {
        hasToldOfFile = true;
        report::LineAtCrash(UncutLine(file, room, sizeof room));
      }
      errno = kept;
      return;
    }
    if (line.empty() || reason == stop::Reason::kNone) {
      if (reason != stop::Reason::kNone) SetTimer(kWatchdogAgain);
      errno = kept;
      return;
    }
    phase = Phase::kFlushing;
    SetTimer(kWatchdogWriting);
    LeftoverFile::RemoveAll();
    standard_write::FlushOutputIfFree();
  }
  if (phase == Phase::kFlushing) {
    phase = Phase::kTelling;
    SetTimer(kWatchdogWriting);
    report::LineAtCrash(line);
  }
  _exit(ExitCodeOfStop(reason));
}

}  // namespace

void StartWatchdog() {
  const int signal = SIGRTMIN;
  sigevent event{};
  event.sigev_notify = SIGEV_THREAD_ID;
  event.sigev_signo = signal;
  event._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
  if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0) return;  // then nothing is watched
  struct sigaction action {};
  action.sa_handler = Look;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_NODEFER);
  sigaction(signal, &action, nullptr);
  stop::SetWatch({Begin, End});
}

}  // namespace app
