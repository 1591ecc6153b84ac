#include "tavhost/loader/command_signals.h"

#include <signal.h>

#include <cstddef>
#include <iterator>

namespace loader {

namespace {

constexpr int kStops[] = {SIGINT, SIGTERM, SIGHUP, SIGALRM};

bool isKept = false;
sigset_t taken;
struct sigaction handlers[std::size(kStops)];

}  // namespace

void KeepSignals() noexcept {
  pthread_sigmask(SIG_SETMASK, nullptr, &taken);
  for (std::size_t i = 0; i < std::size(kStops); ++i) sigaction(kStops[i], nullptr, &handlers[i]);
  isKept = true;
}

// The handlers first: a signal that was held back comes as soon as it is taken again.
void RestoreSignals() noexcept {
  if (!isKept) return;
  for (std::size_t i = 0; i < std::size(kStops); ++i) sigaction(kStops[i], &handlers[i], nullptr);
  pthread_sigmask(SIG_SETMASK, &taken, nullptr);
}

}  // namespace loader
