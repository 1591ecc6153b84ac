#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <exception>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>

#include <sys/time.h>
#include <unistd.h>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/loader/child_process.h"

namespace app {

namespace {

// The signal may be handled on any thread.
std::atomic<bool> interrupted{false};
std::atomic<int> reasonToEnd{0};  // a stop::Reason
static_assert(std::atomic<bool>::is_always_lock_free);

stop::Reason ReasonOf(int signal) {
  return signal == SIGINT ? stop::Reason::kUser : stop::Reason::kTerminate;
}

// Said at the end of the time, when there is no script; set before that can come.
std::string& LineAtEndOfTime() {
  static auto* const line = new std::string;
  return *line;
}

[[noreturn]] void End(stop::Reason reason) {
  loader::EndChild();
  LeftoverFile::RemoveAll();
  _exit(ExitCodeOfStop(reason));
}

// Before there is a script, or where there is none.
void EndBySignal(int signal) {
  standard_write::Hurry();
  standard_write::FlushOutputIfFree();
  End(ReasonOf(signal));
}

void Stop(stop::Reason reason) {
  int none = 0;
  reasonToEnd.compare_exchange_strong(none, static_cast<int>(reason));
  standard_write::Hurry();
  stop::Request(reason);
}

void Interrupt(int signal) {
  if (interrupted.exchange(true)) {
    standard_write::FlushOutputAtOnce();
    End(ReasonOf(signal));
  }
  Stop(ReasonOf(signal));
}

// Does not count as the second: system, shell and what watches the terminal may each send one.
void HangUp(int) { Stop(stop::Reason::kTerminate); }

// The end of the time, on the clock that no other sets; never before LimitTime.
std::atomic<std::int64_t> endOfTime{std::numeric_limits<std::int64_t>::max()};
std::atomic<bool> isEndOfTimeTaken{false};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

constexpr std::int64_t kSecond = 1'000'000'000;

std::int64_t Nanoseconds() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kSecond + now.tv_nsec;
}

// Once. The signal alone tells nothing: anybody can send it, and a plug-in's timer does.
bool TakeEndOfTime() noexcept {
  return Nanoseconds() >= endOfTime && !isEndOfTimeTaken.exchange(true);
}

void EndByTime(int) {
  if (!TakeEndOfTime()) return;
  standard_write::Hurry();
  standard_write::FlushOutputIfFree();
  standard_write::Error(LineAtEndOfTime());
  End(stop::Reason::kTimeout);
}

void TimeIsOver(int) {
  if (TakeEndOfTime()) Stop(stop::Reason::kTimeout);
}

// Those of these signals; null where the program takes none.
struct Taken {
  int signal;
  std::atomic<void (*)(int)> handler{nullptr};
};
Taken takenSignals[] = {{SIGINT}, {SIGTERM}, {SIGHUP}, {SIGALRM}};
static_assert(std::atomic<void (*)(int)>::is_always_lock_free);

void Set(int signal, void (*handler)(int)) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(signal, &action, nullptr);
}

std::atomic<void (*)(int)>& HandlerOf(int signal) {
  for (Taken& taken : takenSignals) {
    if (taken.signal == signal) return taken.handler;
  }
  std::terminate();
}

void Handle(int signal, void (*handler)(int)) {
  HandlerOf(signal) = handler;
  Set(signal, handler);
}

// What the caller wants ignored (nohup, a background job of a shell) stays so; what a plug-in that
// was loaded meanwhile wants ignored does not.
void HandleUnlessIgnored(int signal, void (*handler)(int)) {
  struct sigaction before {};
  sigaction(signal, nullptr, &before);
  if (before.sa_handler != SIG_IGN || HandlerOf(signal) != nullptr) Handle(signal, handler);
}

// A caller may leave signals blocked, and a plug-in that is loaded: they would never come.
void Unblock(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace

void EndAtInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) HandleUnlessIgnored(signal, EndBySignal);
  Unblock({SIGINT, SIGTERM, SIGHUP});
  Set(SIGCHLD, SIG_DFL);
}

void HandleInterrupts() {
  HandleUnlessIgnored(SIGINT, Interrupt);
  HandleUnlessIgnored(SIGTERM, Interrupt);
  HandleUnlessIgnored(SIGHUP, HangUp);
  if (!LineAtEndOfTime().empty()) Handle(SIGALRM, TimeIsOver);
  Unblock({SIGINT, SIGTERM, SIGHUP, SIGALRM});
}

void LimitTime(double seconds, std::string line) {
  LineAtEndOfTime() = std::move(line);
  const auto nanoseconds = static_cast<std::int64_t>(seconds * static_cast<double>(kSecond));
  endOfTime = Nanoseconds() + nanoseconds;
  Handle(SIGALRM, EndByTime);
  Unblock({SIGALRM});
  // A timer of its own: there is one for all who call setitimer or alarm.
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGALRM;
  timer_t timer{};
  itimerspec time{};
  time.it_value.tv_sec = static_cast<std::time_t>(endOfTime / kSecond);
  time.it_value.tv_nsec = static_cast<long>(endOfTime % kSecond);
  if (timer_create(CLOCK_MONOTONIC, &event, &timer) == 0) {
    timer_settime(timer, TIMER_ABSTIME, &time, nullptr);
  } else {  // the system counts such timers
    constexpr std::int64_t kMillion = 1'000'000;
    const std::int64_t microseconds = nanoseconds / 1000 + 1;
    itimerval common{};
    common.it_value.tv_sec = static_cast<std::time_t>(microseconds / kMillion);
    common.it_value.tv_usec = static_cast<suseconds_t>(microseconds % kMillion);
    setitimer(ITIMER_REAL, &common, nullptr);
  }
}

void HoldInterrupts() noexcept {
  for (const Taken& taken : takenSignals) {
    const auto handler = taken.handler.load();
    struct sigaction now {};
    if (!handler || sigaction(taken.signal, nullptr, &now) != 0) continue;
    if (now.sa_handler == SIG_IGN) Set(taken.signal, handler);
    if (taken.signal == SIGALRM && Nanoseconds() >= endOfTime) handler(SIGALRM);
  }
}

stop::Reason Interruption() { return static_cast<stop::Reason>(reasonToEnd.load()); }

void ForgetInterrupts() {
  interrupted = false;
  reasonToEnd = 0;
  standard_write::TakeTime();
}

}  // namespace app
