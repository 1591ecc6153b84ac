#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "tavhost/base/report.h"

namespace report {

bool IsTerminal() noexcept { return isatty(STDERR_FILENO) == 1; }

void detail::Write(std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t count = write(STDERR_FILENO, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

// A pipe or terminal that can be written to takes as many bytes as are atomic; a file takes all.
std::size_t detail::WriteWithin(std::string_view bytes, int milliseconds) noexcept {
  std::size_t written = 0;
  while (written < bytes.size()) {
    pollfd reader{STDERR_FILENO, POLLOUT, 0};
    if (poll(&reader, 1, milliseconds) != 1 || (reader.revents & POLLOUT) == 0) break;
    const std::size_t part = std::min<std::size_t>(bytes.size() - written, PIPE_BUF);
    const ssize_t count = write(STDERR_FILENO, bytes.data() + written, part);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    written += static_cast<std::size_t>(count);
  }
  return written;
}

}  // namespace report
