#pragma once

#include <string>
#include <string_view>

namespace base {

// A name or text in a message, between double quotes.
inline std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

}  // namespace base
