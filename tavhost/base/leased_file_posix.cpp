#include "tavhost/base/leased_file_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "tavhost/base/descriptor_posix.h"
#include "tavhost/base/stop.h"

namespace base {

namespace {

// What the system grants, and some time to take the lease away.
std::chrono::seconds LongestWait() {
  constexpr int kUsual = 45;
  const Descriptor file(open("/proc/sys/fs/lease-break-time", O_RDONLY | O_CLOEXEC));
  char text[16] = {};
  const bool isTold = file.IsOpen() && read(file.Get(), text, sizeof text - 1) > 0;
  return std::chrono::seconds((isTold ? std::atoi(text) : kUsual) + 1);
}

}  // namespace

int OpenLeased(int directory, const char* name, int flags, mode_t mode) {
  using Clock = std::chrono::steady_clock;
  constexpr int kBetween = 10;  // milliseconds
  const Clock::time_point end = Clock::now() + LongestWait();
  while (true) {
    poll(nullptr, 0, kBetween);
    const int file = openat(directory, name, flags, mode);
    const bool isHeld = file < 0 && (errno == EWOULDBLOCK || errno == EINTR);
    if (!isHeld || stop::IsRequested() || Clock::now() > end) return file;
  }
}

}  // namespace base
