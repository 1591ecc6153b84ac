#pragma once

#include <string>
#include <string_view>

#include "tavhost/base/ascii.h"

namespace base {

// The text with each `%HH` as the byte that it stands for (RFC 3986, 2.1); any other percent sign
// stays.
inline std::string PercentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isLong = text[i] == '%' && text.size() - i > 2;
    const int high = isLong ? ascii::HexDigit(text[i + 1]) : -1;
    const int low = isLong ? ascii::HexDigit(text[i + 2]) : -1;
    const bool isCode = high >= 0 && low >= 0;
    decoded += isCode ? static_cast<char>(high * 16 + low) : text[i];
    if (isCode) i += 2;
  }
  return decoded;
}

}  // namespace base
