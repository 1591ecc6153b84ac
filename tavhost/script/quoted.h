#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tavhost/base/utf8.h"

namespace script {

// How much of a script's text a message shows, in bytes: as much as of a long line.
inline constexpr std::size_t kLongestShown = 400;

inline std::string_view ShownPart(std::string_view text) {
  return text.size() > kLongestShown ? utf8::PieceOf(text, kLongestShown) : text;
}

// What stands behind the quotes around such a part.
inline std::string_view ShownEnd(std::string_view text) {
  return text.size() > kLongestShown ? "..." : "";
}

inline std::string Quoted(std::string_view text) {
  return '"' + std::string(ShownPart(text)) + '"' + std::string(ShownEnd(text));
}

}  // namespace script
