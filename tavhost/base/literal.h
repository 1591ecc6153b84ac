#pragma once

#include <string>
#include <string_view>

#include "host/base/string.h"

namespace base {

namespace detail {

inline void Put(SV::String& out, std::string_view text) {
  out.Append(text.data(), static_cast<long>(text.size()));
}
inline void Put(std::string& out, std::string_view text) { out.append(text); }

}  // namespace detail

// Of `\xHH`: values are written with the lower ones, traces with the upper ones.
inline constexpr char kLowerHex[] = "0123456789abcdef";
inline constexpr char kUpperHex[] = "0123456789ABCDEF";

inline bool NeedsEscape(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code == '"' || code == '\\' || code == 0x7F;
}

// The escape of a byte that needs one.
inline std::string_view EscapeOf(char byte, char (&room)[4], const char* hexDigits = kLowerHex) {
  switch (byte) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '\0':
      return "\\0";
    default:
      break;
  }
  const auto code = static_cast<unsigned char>(byte);
  room[0] = '\\';
  room[1] = 'x';
  room[2] = hexDigits[code >> 4];
  room[3] = hexDigits[code & 15];
  return {room, 4};
}

// Appends what stands between the quotes of a literal: piece by piece it is the same as at once.
template <typename Out>
void AppendEscaped(Out& out, std::string_view text, const char* hexDigits = kLowerHex) {
  const char* plain = text.data();
  const char* const end = plain + text.size();
  for (const char* at = plain; at != end; ++at) {
    if (!NeedsEscape(*at)) continue;
    char room[4];
    detail::Put(out, {plain, static_cast<std::size_t>(at - plain)});
    detail::Put(out, EscapeOf(*at, room, hexDigits));
    plain = at + 1;
  }
  detail::Put(out, {plain, static_cast<std::size_t>(end - plain)});
}

// Appends the KEL literal of a text, quotes included, to an SV::String or a std::string. Reads back
// to the same bytes.
template <typename Out>
void AppendLiteral(Out& out, std::string_view text, const char* hexDigits = kLowerHex) {
  detail::Put(out, "\"");
  AppendEscaped(out, text, hexDigits);
  detail::Put(out, "\"");
}

}  // namespace base
