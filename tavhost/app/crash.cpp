#include "tavhost/app/crash.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "tavhost/loader/running_command.h"
#include "tavhost/script/running_place.h"

namespace app {

namespace {

// A line in memory of its own; what does not fit is left out.
class Line {
 public:
  Line& operator<<(std::string_view text) noexcept {
    const std::size_t count = std::min(text.size(), sizeof text_ - length_);
    std::memcpy(text_ + length_, text.data(), count);
    length_ += count;
    return *this;
  }
  Line& operator<<(std::uint32_t number) noexcept {
    char digits[16];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
  }
  std::string_view Text() const noexcept { return {text_, length_}; }
  void Clear() noexcept { length_ = 0; }

 private:
  char text_[4096];  // a pipe takes so much in one piece
  std::size_t length_ = 0;
};

Line line;

std::string_view Cut(std::string_view name) noexcept {
  constexpr std::size_t kLongest = 1000;  // so that the cause still fits in behind three of them
  return name.substr(0, kLongest);
}

void AppendPlugin(const loader::RunningCommand& running) noexcept {
  if (running.plugin) line << "plug-in \"" << Cut(running.plugin) << "\" ";
}

void AppendPlace(const loader::RunningCommand& running) noexcept {
  if (!running.command) return;
  line << " in " << Cut(running.command);
  const script::RunningPlace place = script::FindRunningPlace();
  if (place.line > 0) line << " at " << Cut(place.file) << ":" << place.line;
}

}  // namespace

std::string_view CrashLine(std::string_view cause, bool details) noexcept {
  const loader::RunningCommand running =
      details ? loader::FindRunningCommand() : loader::RunningCommand();
  line.Clear();
  line << "tavhost: ";
  AppendPlugin(running);
  line << "crashed";
  AppendPlace(running);
  line << ": " << Cut(cause) << "\n";
  return line.Text();
}

}  // namespace app
