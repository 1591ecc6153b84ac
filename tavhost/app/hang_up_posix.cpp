#include "tavhost/app/hang_up.h"

#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>
#include <thread>

#include "tavhost/base/event_loop.h"

namespace app {

namespace {

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

bool HasReader(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

// Standard input and output, or -1. A terminal that has hung up is known as one no longer, so that
// this is found out at once.
pollfd watched[] = {{-1, 0, 0}, {-1, 0, 0}};

std::atomic<bool> isWatched{false};  // whether those are known

// On a thread of its own, which ends with the program.
void WaitForHangUp() {
  while (poll(watched, 2, -1) < 0) {
    if (errno != EINTR) return;
  }
  kill(getpid(), SIGHUP);
}

void BeginToWatch() {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);  // the thread handles no signals
  try {
    std::thread(WaitForHangUp).detach();
  } catch (const std::system_error&) {  // then a hang-up is seen when something is printed
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

void EndAtHangUp() {
  struct sigaction hangUp {};
  sigaction(SIGHUP, nullptr, &hangUp);
  if (hangUp.sa_handler == SIG_IGN) return;
  // Of a pipe that is read from, the end of the input is no hang-up.
  if (IsTerminal(STDIN_FILENO)) watched[0].fd = STDIN_FILENO;
  if (IsTerminal(STDOUT_FILENO) || HasReader(STDOUT_FILENO)) watched[1].fd = STDOUT_FILENO;
  isWatched = watched[0].fd >= 0 || watched[1].fd >= 0;
  if (isWatched) event_loop::OnFirstUse(BeginToWatch);
}

void LookForHangUp() noexcept {
  static std::atomic<bool> isTold{false};
  if (!isWatched) return;
  pollfd now[] = {{watched[0].fd, 0, 0}, {watched[1].fd, 0, 0}};
  if (poll(now, 2, 0) > 0 && !isTold.exchange(true)) kill(getpid(), SIGHUP);
}

void WaitForInput() {
  pollfd waiting[] = {{STDIN_FILENO, POLLIN, 0}, watched[1]};
  while (poll(waiting, 2, -1) < 0 && errno == EINTR) {
  }
  const bool isTerminalGone = watched[0].fd >= 0 && (waiting[0].revents & POLLHUP) != 0;
  if (isTerminalGone || waiting[0].revents == 0) kill(getpid(), SIGHUP);
}

void NoticeHangUp() {
  if (watched[0].fd >= 0 && !IsTerminal(STDIN_FILENO)) raise(SIGHUP);
}

}  // namespace app
