#include "tavhost/base/plugin_call.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "tavhost/base/literal.h"

namespace plugin_call {

namespace {

Place (*tellPlace)() noexcept = nullptr;

// Text in a room of the caller's; what does not fit is left out.
class Line {
 public:
  Line(char* room, std::size_t size) noexcept : room_(room), size_(size) {}

  Line& operator<<(std::string_view text) noexcept {
    const std::size_t count = std::min(text.size(), size_ - length_);
    std::memcpy(room_ + length_, text.data(), count);
    length_ += count;
    return *this;
  }
  Line& operator<<(std::uint32_t number) noexcept {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
  }
  // A name, which may hold any byte, in the same line to its end.
  Line& Name(std::string_view name) noexcept {
    for (const char& byte : name) {
      const bool isPlain = !base::NeedsEscape(byte) || byte == '"' || byte == '\\';
      char room[4];
      *this << (isPlain ? std::string_view(&byte, 1) : base::EscapeOf(byte, room));
    }
    return *this;
  }
  std::string_view Text() const noexcept { return {room_, length_}; }

 private:
  char* room_;
  std::size_t size_;
  std::size_t length_ = 0;
};

}  // namespace

void SetPlaceTeller(Place (*tell)() noexcept) noexcept { tellPlace = tell; }

Place CurrentPlace() noexcept { return tellPlace ? tellPlace() : Place(); }

std::string PlaceText() {
  constexpr std::size_t kLongestEscape = 4;  // bytes
  constexpr std::size_t kLineNumber = 12;    // with its colon
  const Place place = CurrentPlace();
  if (place.file.empty()) return {};
  std::string room(place.file.size() * kLongestEscape + kLineNumber, '\0');
  Line line(room.data(), room.size());
  line.Name(place.file) << ":" << place.line;
  room.resize(line.Text().size());
  return room;
}

std::string_view Describe(char* room, std::size_t size) noexcept {
  const Scope* const call = Scope::Current();
  if (!call) return {};
  Line line(room, size);
  (line << "plug-in \"").Name(call->Plugin()) << "\"";
  if (!call->Command()) return line.Text();
  line << ", command " << call->Command();
  const Place place = CurrentPlace();
  if (!place.file.empty()) (line << " at ").Name(place.file) << ":" << place.line;
  return line.Text();
}

}  // namespace plugin_call
