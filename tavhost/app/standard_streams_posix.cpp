#include <csignal>
#include <cstdio>

#include <unistd.h>

#include "tavhost/app/standard_streams.h"

namespace app {

namespace {

// Writes out what was printed before the crash, which is what one who looks for its cause needs
// most; not when the crash came in the middle of writing to that stream, which is then in no good
// state.
void FlushAndCrash(int signal) {
  FlushOutputIfFree();
  raise(signal);  // the default action, which was restored on entry
}

void FlushAtCrash(int signal) {
  struct sigaction before {};
  sigaction(signal, nullptr, &before);
  if (before.sa_handler != SIG_DFL) return;  // a sanitizer's or a debugger's own
  struct sigaction action {};
  action.sa_handler = FlushAndCrash;
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void FlushOutputIfFree() noexcept {
  if (ftrylockfile(stdout) != 0) return;
  fflush_unlocked(stdout);
  funlockfile(stdout);
}

void PreparePlatformStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) FlushAtCrash(signal);
}

bool IsInputTerminal() { return isatty(STDIN_FILENO) == 1; }
bool IsOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace app
