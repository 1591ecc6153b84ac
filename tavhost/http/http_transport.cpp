#include "tavhost/http/http_transport.h"

#include <algorithm>
#include <chrono>

#include "tavhost/base/ascii.h"
#include "tavhost/base/event_loop.h"

namespace http {

namespace {

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// Calls `use(name, value)` for each field until it returns false.
template <typename Use>
void ForEachField(std::string_view header, Use use) {
  while (!header.empty()) {
    const auto line = header.substr(0, header.find('\n'));
    header.remove_prefix(std::min(line.size() + 1, header.size()));
    const auto colon = line.find(':');
    if (colon == line.npos) continue;
    if (!use(line.substr(0, colon), Trimmed(line.substr(colon + 1)))) return;
  }
}

}  // namespace

std::string Answer::Field(std::string_view name) const {
  std::string found;
  ForEachField(header, [&](std::string_view field, std::string_view value) {
    if (!ascii::EqualIgnoringCase(field, name)) return true;
    found = value;
    return false;
  });
  return found;
}

bool HasBadFraming(std::string_view header) {
  std::string_view length;
  bool bad = false;
  bool chunked = false;
  ForEachField(header, [&](std::string_view field, std::string_view value) {
    if (ascii::EqualIgnoringCase(field, "Transfer-Encoding")) chunked = true;
    if (!ascii::EqualIgnoringCase(field, "Content-Length")) return true;
    const bool number = !value.empty() && value.find_first_not_of("0123456789") == value.npos;
    if (!number || (!length.empty() && length != value)) bad = true;
    length = value;
    return true;
  });
  return bad || (chunked && !length.empty());
}

std::uint64_t WholeTime(const Timeouts& timeouts) {
  if (timeouts.send == 0 || timeouts.receive == 0) return 0;
  return std::uint64_t{timeouts.resolve} + timeouts.connect + timeouts.send + timeouts.receive;
}

void PaintWhileWaiting() {
  using Clock = std::chrono::steady_clock;
  constexpr auto kInterval = std::chrono::milliseconds(20);
  static Clock::time_point latest;
  const auto now = Clock::now();
  if (now - latest < kInterval) return;
  latest = now;
  event_loop::ProcessPainting();
}

}  // namespace http
