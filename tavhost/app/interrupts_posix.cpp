#include <atomic>
#include <csignal>
#include <ctime>
#include <initializer_list>
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

void EndByTime(int) {
  standard_write::Hurry();
  standard_write::FlushOutputIfFree();
  standard_write::Error(LineAtEndOfTime());
  End(stop::Reason::kTimeout);
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

void TimeIsOver(int) { Stop(stop::Reason::kTimeout); }

void Handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(signal, &action, nullptr);
}

// What the caller wants ignored (nohup, a background job of a shell) stays so.
void HandleUnlessIgnored(int signal, void (*handler)(int)) {
  struct sigaction before {};
  sigaction(signal, nullptr, &before);
  if (before.sa_handler != SIG_IGN) Handle(signal, handler);
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
  Handle(SIGALRM, EndByTime);
  Unblock({SIGALRM});
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<std::time_t>(seconds);
  const double rest = seconds - static_cast<double>(timer.it_value.tv_sec);
  timer.it_value.tv_usec = static_cast<suseconds_t>(rest * 1e6);
  if (timer.it_value.tv_sec == 0 && timer.it_value.tv_usec == 0) timer.it_value.tv_usec = 1;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

stop::Reason Interruption() { return static_cast<stop::Reason>(reasonToEnd.load()); }

void ForgetInterrupts() {
  interrupted = false;
  reasonToEnd = 0;
  standard_write::TakeTime();
}

}  // namespace app
