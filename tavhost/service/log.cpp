#include "tavhost/service/log.h"

#include <cstdio>
#include <ctime>

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

std::string UtcNow() {
  const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::chrono::sys_seconds seconds{std::chrono::seconds(now)};
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

}  // namespace

std::string LogLine(const LogEntry& entry, TavWSLogFormat format) {
  char time[32];
  std::snprintf(time, sizeof time, "%.1f ms", static_cast<double>(entry.time.count()) / 1000.0);
  std::string line = UtcNow();
  if (format == TavWSLogLong) line += ' ' + entry.client;
  line += ' ' + Escaped(entry.method) + ' ' + Escaped(entry.target) + ' ' +
          std::to_string(entry.status) + ' ' + time;
  if (format == TavWSLogLong) {
    line += ' ' + std::to_string(entry.bytes) + " bytes \"" + Escaped(entry.agent) + '"';
  }
  return line;
}

}  // namespace script::service
