#include <unistd.h>

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

}  // namespace report
