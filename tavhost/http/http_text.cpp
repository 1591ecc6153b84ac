#include "tavhost/http/http_text.h"

#include <utf8.h>

#include <algorithm>

#include "tavhost/base/ascii.h"
#include "tavhost/base/utf16.h"

namespace http {

namespace {

// 0x80 to 0x9F of windows-1252; the rest is as in ISO 8859-1.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

std::u16string FromWindows1252(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80] : char16_t{byte};
  });
  return text;
}

std::u16string FromUtf8(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  return utf16::FromUtf8(bytes);
}

std::u16string FromUtf16(std::string_view bytes, bool bigEndian) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    text += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  if (bytes.size() % 2 != 0) text += u'\xFFFD';
  return text;
}

}  // namespace

std::string CharsetOf(std::string_view contentType) {
  const std::string lower = ascii::ToLower(contentType);
  std::size_t at = lower.find(';');
  while (at != std::string::npos) {
    at = lower.find_first_not_of("; \t", at);
    if (at == std::string::npos) break;
    if (lower.compare(at, 8, "charset=") == 0) {
      std::string_view value = contentType.substr(at + 8);
      if (value.starts_with('"')) {
        value.remove_prefix(1);
        return std::string(value.substr(0, value.find('"')));
      }
      return std::string(value.substr(0, value.find_first_of("; \t")));
    }
    at = lower.find(';', at);
  }
  return {};
}

std::u16string DecodeText(std::string_view bytes, std::string_view charset) {
  const std::string name = ascii::ToLower(charset);
  if (name == "utf-8" || name == "utf8") return FromUtf8(bytes);
  if (name == "windows-1252" || name == "cp1252") return FromWindows1252(bytes);
  if (name == "utf-16le") return FromUtf16(bytes, false);
  if (name == "utf-16be") return FromUtf16(bytes, true);
  const bool named = !name.empty() && name != "utf-16";
  if (named) {
    if (auto text = DecodeWithSystem(bytes, name)) return *std::move(text);
  }
  if (bytes.starts_with("\xEF\xBB\xBF")) return FromUtf8(bytes);
  if (bytes.starts_with("\xFF\xFE")) return FromUtf16(bytes.substr(2), false);
  if (bytes.starts_with("\xFE\xFF")) return FromUtf16(bytes.substr(2), true);
  if (name == "utf-16") return FromUtf16(bytes, true);  // RFC 2781, 4.3
  if (utf8::is_valid(bytes.begin(), bytes.end())) return FromUtf8(bytes);
  return FromWindows1252(bytes);
}

}  // namespace http
