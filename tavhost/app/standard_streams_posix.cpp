#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/app/hang_up.h"
#include "tavhost/app/standard_streams.h"

namespace app {

void PreparePlatformStreams() {
  std::signal(SIGPIPE, SIG_IGN);
  // A file that may not grow any more (ulimit -f) is a write error as well. Handled rather than
  // ignored, so that programs started from here meet the limit as the system has it.
  struct sigaction limit {};
  sigaction(SIGXFSZ, nullptr, &limit);
  if (limit.sa_handler != SIG_IGN) std::signal(SIGXFSZ, [](int) {});
}

base::Result<std::string> ReadStandardInput() {
  std::string text;
  char part[1 << 16];
  while (true) {
    WaitForInput();
    const ssize_t count = read(STDIN_FILENO, part, sizeof part);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return base::Failure(std::strerror(errno));
    if (count == 0) return text;
    text.append(part, static_cast<std::size_t>(count));
  }
}

bool IsInputTerminal() { return isatty(STDIN_FILENO) == 1; }
bool IsOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace app
