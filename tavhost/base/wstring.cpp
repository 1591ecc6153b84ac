#include "host/base/wstring.h"

#include <utf8.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "tavhost/base/string_of.h"

namespace SV {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

WString::WString(const char16_t* text) : units_(text ? text : u"") {}

WString::WString(const char16_t* data, long length)
    : units_(data, static_cast<std::size_t>(std::max(length, 0L))) {}

WString ConvertUTF8StringToWString(const String& text) {
  const std::string_view bytes = text.View();
  std::string valid;
  const bool clean = utf8::is_valid(bytes.begin(), bytes.end());
  if (!clean) {
    valid.reserve(bytes.size());
    utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(valid), kReplacement);
  }
  const std::string_view good = clean ? bytes : std::string_view(valid);
  std::u16string units;
  units.reserve(good.size());
  utf8::unchecked::utf8to16(good.begin(), good.end(), std::back_inserter(units));
  return WString(units.data(), static_cast<long>(units.size()));
}

String ConvertWStringToUTF8String(const WString& text) {
  const std::u16string_view units = text.View();
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
  return base::StringOf(bytes);
}

}  // namespace SV
