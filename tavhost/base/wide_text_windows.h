#pragma once

#include <string>
#include <string_view>

// Text as the functions of Windows take it, and what they give as UTF-8. What is not well-formed
// becomes U+FFFD.
namespace base {

std::wstring Wide(std::string_view utf8);
std::string Narrow(std::wstring_view wide);

}  // namespace base
