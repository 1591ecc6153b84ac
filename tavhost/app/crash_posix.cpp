#include <signal.h>
#include <sys/time.h>

#include <cstddef>
#include <cstdlib>

#include "tavhost/app/crash.h"
#include "tavhost/app/watchdog.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"

namespace app {

namespace {

// Where the handler runs: the fault may be that the thread's own stack has come to its end. Of the
// thread on which plug-ins run.
alignas(16) char handlerStack[std::size_t{64} << 10];

constexpr int kFaults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
// Those that end a program by the system's action and that people and limits send. They do, but
// what must not outlive the program goes before.
constexpr int kSentEnds[] = {SIGQUIT, SIGUSR1, SIGUSR2, SIGXCPU};

const char* CauseOf(int signal) {
  switch (signal) {
    case SIGSEGV:
      return "signal 11 (SIGSEGV)";
    case SIGBUS:
      return "signal 7 (SIGBUS)";
    case SIGFPE:
      return "signal 8 (SIGFPE)";
    case SIGILL:
      return "signal 4 (SIGILL)";
    default:
      return "signal 6 (SIGABRT)";
  }
}

void EndBy(int signal) {
  struct sigaction byDefault {};
  byDefault.sa_handler = SIG_DFL;
  sigaction(signal, &byDefault, nullptr);
  raise(signal);
}

volatile sig_atomic_t fault = 0;

void HandleFault(int signal);

// A reader of what was printed that takes nothing is waited for as long as a plug-in would be.
void GoOnInTime(int signal) {
  fault = signal;
  struct sigaction action {};
  action.sa_handler = [](int) { HandleFault(fault); };
  sigaction(SIGALRM, &action, nullptr);
  itimerval timer{};
  timer.it_value.tv_sec = kWatchdogPatience;
  setitimer(ITIMER_REAL, &timer, nullptr);
}

// After a fault nothing is certain. Should a step meet a fault itself, the handler comes here
// again, and the next step is the first that is taken.
void HandleFault(int signal) {
  enum Step : sig_atomic_t { kPrinted, kDetails, kBare, kNothing };
  static volatile sig_atomic_t next = kPrinted;
  if (next <= kPrinted) {
    next = kDetails;
    LeftoverFile::RemoveAll();
    GoOnInTime(signal);
    standard_write::FlushOutputIfFree();
  }
  if (next <= kBare) {
    const bool details = next == kDetails;
    next = details ? kBare : kNothing;
    report::LineAtCrash(CrashLine(CauseOf(signal), details));
  }
  EndBy(signal);
}

// No fault, and nothing to tell: whoever sent the signal knows of it.
void HandleSentEnd(int signal) {
  LeftoverFile::RemoveAll();
  EndBy(signal);
}

void Handle(int signal, void (*handler)(int)) {
  struct sigaction before {};
  sigaction(signal, nullptr, &before);
  if (before.sa_handler != SIG_DFL) return;  // a sanitizer's or a debugger's own
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_NODEFER | SA_ONSTACK);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void AtQuickExit(void (*tell)()) noexcept { std::at_quick_exit(tell); }

void ReportCrashes() {
  stack_t stack{};
  stack.ss_sp = handlerStack;
  stack.ss_size = sizeof handlerStack;
  sigaltstack(&stack, nullptr);
  sigset_t faults;
  sigemptyset(&faults);
  for (const int signal : kFaults) {
    Handle(signal, HandleFault);
    sigaddset(&faults, signal);
  }
  for (const int signal : kSentEnds) Handle(signal, HandleSentEnd);
  pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);  // the caller may have blocked them
}

}  // namespace app
