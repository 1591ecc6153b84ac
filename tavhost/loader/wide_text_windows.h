#pragma once

#include <string>

namespace loader {

// Between UTF-8 and the system's UTF-16; what is not well-formed becomes U+FFFD.
std::wstring ToWide(const std::string& utf8);
std::string ToUtf8(const std::wstring& wide);
// What the system says about an error code, without the full stop and line end.
std::string SystemErrorText(unsigned long code);

}  // namespace loader
