#include "tavhost/service/log.h"

#include <algorithm>
#include <cstdio>

#include "tavhost/base/ascii.h"
#include "tavhost/base/percent.h"
#include "tavhost/service/queue.h"

namespace script::service {

namespace {

constexpr std::size_t kLongestShown = 200;

std::string Escaped(std::string_view text) {
  std::string shown;
  for (const char c : text.substr(0, kLongestShown)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '\\' && c != '"') {
      shown += c;
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", byte);
      shown += code;
    }
  }
  if (text.size() > kLongestShown) shown += "...";
  return shown;
}

// No path of the service takes more than itself; what stands there is likely a secret.
std::string PathOf(const std::string& target) {
  const std::size_t end = target.find_first_of("?#;");
  return end == target.npos ? target : target.substr(0, end + 1) + "***";
}

// Of a text in which the secret is written with percent signs, also of these once more, what they
// mean is shown.
std::string Without(std::string_view secret, std::string_view text) {
  constexpr int kMostEncodings = 3;
  const auto same = [](char a, char b) { return ascii::ToLower(a) == ascii::ToLower(b); };
  std::string shown(text);
  for (int i = 0; i <= kMostEncodings && !secret.empty(); ++i) {
    bool isThere = false;
    while (true) {
      const auto at = std::search(shown.begin(), shown.end(), secret.begin(), secret.end(), same);
      if (at == shown.end()) break;
      shown.replace(at, at + static_cast<std::ptrdiff_t>(secret.size()), "***");
      isThere = true;
    }
    if (isThere) return shown;
    if (shown.find('%') == shown.npos) break;
    shown = base::PercentDecoded(shown);
  }
  return std::string(text);
}

}  // namespace

std::string DateText(std::chrono::system_clock::time_point when) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(when);
  const auto day = std::chrono::floor<std::chrono::days>(seconds);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(seconds - day);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text;
}

std::string LogLine(const LogEntry& entry, TavWSLogFormat format, std::string_view secret) {
  const auto shown = [secret](std::string_view text) {
    return text.empty() ? "-" : Escaped(Without(secret, text));  // it never came, or made no sense
  };
  char time[32];
  std::snprintf(time, sizeof time, "%.1f ms", static_cast<double>(entry.time.count()) / 1000.0);
  std::string line = DateText(std::chrono::system_clock::now());
  if (format == TavWSLogLong) line += ' ' + entry.client;
  line += ' ' + shown(entry.method) + ' ' + shown(PathOf(entry.target)) + ' ' +
          (entry.status == 0 ? "-" : std::to_string(entry.status)) + ' ' + time;
  if (format == TavWSLogLong) {
    line += ' ' + std::to_string(entry.bytes) + " bytes \"" + shown(entry.agent) + '"';
  }
  if (entry.cut) {
    line += " cut off at " + std::to_string(entry.cut->at) + " of " +
            std::to_string(entry.cut->length) + " bytes";
  }
  if (entry.status == 0) line += std::string(" ") + kErrorClientLeft;
  return line;
}

}  // namespace script::service
