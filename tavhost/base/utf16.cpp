#include "tavhost/base/utf16.h"

#include <utf8.h>

#include <iterator>

namespace utf16 {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::string_view WellFormed(std::string_view bytes, std::string& room) {
  if (utf8::is_valid(bytes.begin(), bytes.end())) return bytes;
  room.clear();
  room.reserve(bytes.size());
  utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(room), kReplacement);
  return room;
}

std::u16string FromUtf8(std::string_view bytes) {
  std::string room;
  const std::string_view good = WellFormed(bytes, room);
  std::u16string units;
  units.reserve(good.size());
  utf8::unchecked::utf8to16(good.begin(), good.end(), std::back_inserter(units));
  return units;
}

std::string ToUtf8(std::u16string_view units) {
  std::string bytes;
  bytes.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t point = units[i];
    if (IsHighSurrogate(units[i]) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
      point = 0x10000 + ((point - 0xD800) << 10) + (units[++i] - 0xDC00u);
    } else if (point >= 0xD800 && point < 0xE000) {
      point = kReplacement;
    }
    utf8::unchecked::append(point, std::back_inserter(bytes));
  }
  return bytes;
}

}  // namespace utf16
