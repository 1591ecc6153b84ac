#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/terminal_input_posix.h"

namespace ui {

namespace {

bool IsDevice(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode);
}

}  // namespace

LineOutcome WaitForTerminalInput() {
  int output = STDOUT_FILENO;
  for (;;) {
    if (stop::IsRequested()) return LineOutcome::kStopped;
    pollfd descriptors[] = {
        {STDIN_FILENO, POLLIN, 0}, {event_loop::WakeUpDescriptor(), POLLIN, 0}, {output, 0, 0}};
    if (poll(descriptors, 3, -1) < 0 && errno != EINTR) return LineOutcome::kEnd;
    if (stop::IsRequested()) return LineOutcome::kStopped;
    // A terminal that has gone, or whoever read what is printed, is a hang-up, which ends the run
    // unless the caller wants it ignored. The end of other input is an end like any other.
    const bool isInputGone = (descriptors[0].revents & POLLHUP) != 0 && IsDevice(STDIN_FILENO);
    if (isInputGone || descriptors[2].revents != 0) {
      raise(SIGHUP);
      if (stop::IsRequested()) return LineOutcome::kStopped;
      output = -1;
    }
    // Posted work runs after the dialog's end. Until then its wake-up, left as it is, would end
    // every wait at once.
    if (descriptors[1].revents) event_loop::ClearWakeUp();
    if (descriptors[0].revents) return LineOutcome::kLine;
  }
}

LineOutcome ReadTerminalLine(std::string& line) {
  static std::string pending;  // has been read, but stands behind the end of the line before
  line.clear();
  std::size_t searched = 0;  // so much of it holds no end of line
  for (;;) {
    const std::size_t end = pending.find('\n', searched);
    searched = pending.size();
    if (end != std::string::npos) {
      line.assign(pending, 0, end);
      pending.erase(0, end + 1);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      return LineOutcome::kLine;
    }
    const LineOutcome waited = WaitForTerminalInput();
    if (waited != LineOutcome::kLine) return waited;
    char bytes[4096];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) {
      if (pending.empty()) return LineOutcome::kEnd;
      line.swap(pending);
      pending.clear();
      return LineOutcome::kLine;
    }
    pending.append(bytes, static_cast<std::size_t>(count));
  }
}

}  // namespace ui
