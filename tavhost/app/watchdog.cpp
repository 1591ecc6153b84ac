#include "tavhost/app/watchdog.h"

#include <algorithm>
#include <cstring>

#include "tavhost/base/plugin_call.h"

namespace app {

std::string_view UncutLine(const char* file, char* room, std::size_t size) noexcept {
  constexpr std::string_view kBegin = "tavhost: the stop takes effect when ";
  constexpr std::string_view kEnd = " is stored\n";
  if (size < kBegin.size() + kEnd.size()) return {};
  const std::string_view name =
      std::string_view(file).substr(0, size - kBegin.size() - kEnd.size());
  char* at = std::copy(kBegin.begin(), kBegin.end(), room);
  at = std::copy(name.begin(), name.end(), at);
  at = std::copy(kEnd.begin(), kEnd.end(), at);
  return {room, static_cast<std::size_t>(at - room)};
}

std::string_view WatchdogLine(char* room, std::size_t size) noexcept {
  constexpr std::string_view kBegin = "tavhost: ";
  constexpr std::string_view kEnd = " did not return within 5 s of a stop; the program ends\n";
  static_assert(kWatchdogPatience == 5);
  if (size < kBegin.size() + kEnd.size()) return {};
  const std::size_t forCall = size - kBegin.size() - kEnd.size();
  const std::size_t call = plugin_call::Describe(room + kBegin.size(), forCall).size();
  if (call == 0) return {};
  std::memcpy(room, kBegin.data(), kBegin.size());
  std::memcpy(room + kBegin.size() + call, kEnd.data(), kEnd.size());
  return {room, kBegin.size() + call + kEnd.size()};
}

}  // namespace app
