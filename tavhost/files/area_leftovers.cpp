#include "tavhost/files/area_leftovers.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

#include "tavhost/files/disk.h"
#include "tavhost/files/name_lock.h"

namespace area_leftovers {

namespace {

// The number that is all of a text.
std::optional<std::uint32_t> NumberIn(std::string_view text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// The process that has made a file under such a name; nothing for all other names.
std::optional<std::uint32_t> MakerOf(std::string_view name) {
  constexpr std::string_view kBegin = ".tavhost-";
  constexpr std::string_view kEnd = ".tmp";
  if (!name.starts_with(kBegin) || !name.ends_with(kEnd)) return std::nullopt;
  name.remove_prefix(kBegin.size());
  const std::size_t dash = name.find('-');
  if (dash == std::string_view::npos || name.size() < dash + 1 + kEnd.size()) return std::nullopt;
  name.remove_suffix(kEnd.size());
  return NumberIn(name.substr(dash + 1)) ? NumberIn(name.substr(0, dash)) : std::nullopt;
}

}  // namespace

void Remove(const std::string& locks, const std::string& folder,
            const std::vector<std::string>& files) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kLongest{20};
  const Clock::time_point end = Clock::now() + kLongest;
  for (const std::string& name : files) {
    const std::optional<std::uint32_t> process = MakerOf(name);
    if (!process) continue;
    const std::string leftover = disk::Join(folder, name);
    if (const auto lock = name_lock::TakeFromGone(locks, *process, leftover)) {
      disk::RemoveLeftover(leftover);
    }
    if (Clock::now() > end) return;
  }
}

}  // namespace area_leftovers
