#include "tavhost/app/crash.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "tavhost/base/plugin_call.h"

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

}  // namespace

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
