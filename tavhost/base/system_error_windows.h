#pragma once

#include <string>

namespace base {

// What the system says about an error code, without the full stop and line end.
std::string SystemErrorText(unsigned long code);

}  // namespace base
