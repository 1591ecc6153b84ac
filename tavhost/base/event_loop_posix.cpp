#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <limits>

#include "tavhost/base/event_loop.h"

namespace event_loop {

namespace {

// A pipe rather than anything newer: writing to it is allowed in a signal handler everywhere.
struct Pipe {
  int read = -1;
  int write = -1;

  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
    read = ends[0];
    write = ends[1];
  }
};

// Made before main, so that no signal handler meets it half made.
Pipe wakePipe;

}  // namespace

void WakeUp() noexcept {
  const int saved = errno;  // of the code that a signal may have interrupted
  const char byte = 0;
  // Writing can fail only because the pipe is full, and a full pipe ends a wait just as well.
  [[maybe_unused]] const ssize_t written = write(wakePipe.write, &byte, 1);
  errno = saved;
}

void WaitForWakeUp(unsigned milliseconds) {
  pollfd descriptor{wakePipe.read, POLLIN, 0};
  const int timeout = milliseconds > unsigned{std::numeric_limits<int>::max()}
                          ? -1
                          : static_cast<int>(milliseconds);
  // An interrupting signal ends the wait too: its handler may have asked for a stop.
  poll(&descriptor, 1, timeout);
}

void ClearWakeUp() {
  char bytes[256];
  while (read(wakePipe.read, bytes, sizeof bytes) == static_cast<ssize_t>(sizeof bytes)) {
  }
}

void ProcessSystemMessages() {}

int WakeUpDescriptor() { return wakePipe.read; }

}  // namespace event_loop
