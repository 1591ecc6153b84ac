#include "tavhost/app/crash.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tavhost/app/exit_codes.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/script/runner.h"

namespace app {

namespace {

char line[4096];  // a pipe takes so much in one piece
std::size_t length = 0;

// What would reach beyond `limit` is left out.
void Append(std::string_view text, std::size_t limit) noexcept {
  const std::size_t count = std::min(text.size(), limit - length);
  std::memcpy(line + length, text.data(), count);
  length += count;
}

// What a plug-in has registered for the end runs before; what comes behind belongs to the host,
// which is in the middle of a command.
void TellExit() {
  const plugin_call::Scope* const call = plugin_call::Scope::Current();
  if (!call || !call->Command()) return;
  LeftoverFile::RemoveAll();
  standard_write::FlushOutputIfFree();
  char room[sizeof line];
  report::Line("tavhost: " + std::string(plugin_call::Describe(room, sizeof room)) +
               " did not return: exit was called; the program ends");
  report::Finish();
  std::_Exit(kExitScriptError);
}

}  // namespace

void ReportExits() {
  script::IsScriptRunning();  // who tells the line is made first, and so is there at the end
  std::atexit(TellExit);
  AtQuickExit(TellExit);
}

std::string_view CrashLine(std::string_view cause, bool details) noexcept {
  constexpr std::size_t kForTheCause = 256;  // whatever stands before it
  length = 0;
  Append("tavhost: ", sizeof line);
  if (details) {
    const std::size_t room = sizeof line - kForTheCause - length;
    const std::string_view call = plugin_call::Describe(line + length, room);
    length += call.size();
    if (!call.empty()) Append(" ", sizeof line);
  }
  Append("crashed: ", sizeof line);
  Append(cause, sizeof line - 1);
  Append("\n", sizeof line);
  return {line, length};
}

}  // namespace app
