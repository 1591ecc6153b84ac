#include <atomic>
#include <csignal>
#include <ctime>

#include <sys/time.h>
#include <unistd.h>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/stop.h"

namespace app {

namespace {

// The signal may be handled on any thread.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void Interrupt(int signal) {
  const stop::Reason reason = signal == SIGINT ? stop::Reason::kUser : stop::Reason::kTerminate;
  if (interrupted.exchange(true)) {
    LeftoverFile::RemoveAll();
    _exit(ExitCodeOfStop(reason));
  }
  stop::Request(reason);
}

// Does not count as the second: system, shell and what watches the terminal may each send one.
void HangUp(int) { stop::Request(stop::Reason::kTerminate); }

void TimeIsOver(int) { stop::Request(stop::Reason::kTimeout); }

void Handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigaction(signal, &action, nullptr);
}

}  // namespace

void HandleInterrupts() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    // What the caller wants ignored (nohup, a background job of a shell) stays so.
    if (before.sa_handler != SIG_IGN) Handle(signal, signal == SIGHUP ? HangUp : Interrupt);
  }
}

void StopAfter(double seconds) {
  Handle(SIGALRM, TimeIsOver);
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<std::time_t>(seconds);
  const double rest = seconds - static_cast<double>(timer.it_value.tv_sec);
  timer.it_value.tv_usec = static_cast<suseconds_t>(rest * 1e6);
  if (timer.it_value.tv_sec == 0 && timer.it_value.tv_usec == 0) timer.it_value.tv_usec = 1;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

void ForgetInterrupts() { interrupted = false; }

}  // namespace app
