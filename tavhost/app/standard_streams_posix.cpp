#include <unistd.h>

#include <csignal>

#include "tavhost/app/standard_streams.h"

namespace app {

void PreparePlatformStreams() { std::signal(SIGPIPE, SIG_IGN); }

bool IsInputTerminal() { return isatty(STDIN_FILENO) == 1; }
bool IsOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

}  // namespace app
