#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// What all work on UTF-8 has in common.
namespace utf8 {

// A byte that continues a character which an earlier one begins.
inline bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// The start of a text: of so many bytes, and a few more where a character would be cut. Of a text
// that is not empty it is not empty.
inline std::string_view PieceOf(std::string_view text, std::size_t bytes) {
  constexpr std::size_t kMostContinued = 3;  // bytes behind the first of a character
  std::size_t end = std::min(bytes, text.size());
  for (std::size_t i = 0; i < kMostContinued && end < text.size(); ++i, ++end) {
    if (!IsContinuation(text[end])) break;
  }
  return text.substr(0, end);
}

}  // namespace utf8
