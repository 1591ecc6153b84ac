#pragma once

#include <string>

namespace base {

// Gives a file the access list of `model` and the attributes; false with GetLastError.
bool TakeRights(const std::wstring& file, const std::wstring& model, unsigned long attributes);

}  // namespace base
