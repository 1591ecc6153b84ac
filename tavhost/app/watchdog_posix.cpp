#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/hang_up.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/watchdog.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/uncut_work.h"

// A timer whose signal comes to the user-interface thread alone: its handler runs in the middle of
// the code that does not return, so that nothing it looks at can change meanwhile. Where that
// thread takes no signals, a thread of its own looks instead, a little later; then nothing changes
// because that thread is in a plug-in's code since seconds.
namespace app {

namespace {

enum class Phase : std::uint8_t { kWatching, kFlushing, kTelling };

timer_t timer;
bool hasTimer = false;
volatile Phase phase = Phase::kWatching;

std::atomic<unsigned> round{0};  // another number for each request; odd while it is watched
std::atomic<unsigned> looks{0};  // of the timer's
std::atomic<bool> isEnding{false};
sem_t roundChanged;
bool isWatchedFromAside = false;

void SetTimer(int seconds) noexcept {
  itimerspec time{};
  time.it_value.tv_sec = seconds;
  if (hasTimer) timer_settime(timer, 0, &time, nullptr);
}

volatile bool hasToldOfFile = false;

void SetRound(unsigned number) noexcept {
  round = number;
  if (isWatchedFromAside) sem_post(&roundChanged);
}

void Begin() noexcept {
  hasToldOfFile = false;
  SetTimer(kWatchdogPatience);
  SetRound((round + 1) | 1U);
}
void End() noexcept {
  SetTimer(0);
  SetRound((round + 1) & ~1U);
}

char room[4096];

// The line with which the program ends; empty when it does not, now.
std::string_view LastLine() noexcept {
  if (const char* const file = base::UncutWork::Current()) {
    if (!hasToldOfFile) {
      hasToldOfFile = true;
      report::LineAtCrash(UncutLine(file, room, sizeof room));
    }
    return {};
  }
  return WatchdogLine(room, sizeof room);
}

// Each phase but the first can be held by a pipe that nobody reads; the timer then comes into the
// middle of it and goes on with the next.
void Look(int) {
  const int kept = errno;
  static std::string_view line;
  ++looks;
  const stop::Reason reason = stop::Watched();
  if (phase == Phase::kWatching) {
    if (reason != stop::Reason::kNone) SetTimer(kWatchdogAgain);
    line = reason == stop::Reason::kNone ? std::string_view() : LastLine();
    if (line.empty() || isEnding.exchange(true)) {
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

void LookFromAside() noexcept {
  const stop::Reason reason = stop::Watched();
  if (reason == stop::Reason::kNone) return;
  const std::string_view line = LastLine();
  if (line.empty() || isEnding.exchange(true)) return;
  LeftoverFile::RemoveAll();
  standard_write::FlushOutputIfFree();  // readers are waited for a little while only
  report::LineAtCrash(line);
  _exit(ExitCodeOfStop(reason));
}

// Whether the number of the round becomes another one before that time, in milliseconds.
bool HasChangedWithin(unsigned number, std::int64_t until) noexcept {
  const timespec time{static_cast<std::time_t>(until / 1000), until % 1000 * 1'000'000};
  while (round == number) {
    if (sem_clockwait(&roundChanged, CLOCK_MONOTONIC, &time) != 0 && errno == ETIMEDOUT) {
      return false;
    }
  }
  return true;
}

std::int64_t Milliseconds() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * std::int64_t{1000} + now.tv_nsec / 1'000'000;
}

// A thread that takes the signals that stop a run, should no other do so, and ends with the
// program.
void Watch() noexcept {
  sigset_t others;
  sigfillset(&others);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGALRM}) sigdelset(&others, signal);
  pthread_sigmask(SIG_SETMASK, &others, nullptr);
  constexpr int kLater = 500;    // milliseconds behind the timer, which comes first where it can
  constexpr int kHolding = 250;  // milliseconds between two looks at what a plug-in does to signals
  unsigned watched = 0;          // no request; one may have come before this thread
  unsigned seen = 0;
  std::int64_t next = 0;  // look at the request
  for (;;) {
    const std::int64_t now = Milliseconds();
    if (HasChangedWithin(watched, now + kHolding)) {
      watched = round;
      seen = looks;
      next = now + std::int64_t{kWatchdogPatience} * 1000 + kLater;
    }
    if (plugin_call::Scope::Current()) {
      HoldInterrupts();
      LookForHangUp();
    }
    if (watched % 2 == 0 || Milliseconds() < next) continue;
    if (looks == seen) LookFromAside();
    seen = looks;
    next += std::int64_t{kWatchdogAgain} * 1000 + kLater;
  }
}

}  // namespace

void StartWatchdog() {
  const int signal = SIGRTMIN;
  sigevent event{};
  event.sigev_notify = SIGEV_THREAD_ID;
  event.sigev_signo = signal;
  event._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
  struct sigaction action {};
  action.sa_handler = Look;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_NODEFER);
  sigaction(signal, &action, nullptr);
  sigset_t taken;
  sigemptyset(&taken);
  sigaddset(&taken, signal);
  pthread_sigmask(SIG_UNBLOCK, &taken, nullptr);  // the caller may have blocked it
  hasTimer = timer_create(CLOCK_MONOTONIC, &event, &timer) == 0;
  if (hasTimer || isWatchedFromAside) stop::SetWatch({Begin, End});
}

void WatchFromAside() {
  if (sem_init(&roundChanged, 0, 0) != 0) return;
  try {
    std::thread(Watch).detach();
    isWatchedFromAside = true;
  } catch (const std::system_error&) {  // then the timer alone watches
  }
}

}  // namespace app
