#include <windows.h>

#include "tavhost/base/stop.h"
#include "tavhost/headless/terminal_input.h"

namespace ui {

// A read from the console ends when Ctrl-C is pressed; a pipe gives its lines or ends.
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
    if (stop::IsRequested()) return LineOutcome::kStopped;
    char bytes[4096];
    DWORD count = 0;
    const BOOL read =
        ReadFile(GetStdHandle(STD_INPUT_HANDLE), bytes, sizeof bytes, &count, nullptr);
    if (stop::IsRequested()) return LineOutcome::kStopped;
    if (!read && GetLastError() == ERROR_OPERATION_ABORTED) continue;
    if (!read || count == 0) {
      if (pending.empty()) return LineOutcome::kEnd;
      line.swap(pending);
      pending.clear();
      return LineOutcome::kLine;
    }
    pending.append(bytes, count);
  }
}

}  // namespace ui
