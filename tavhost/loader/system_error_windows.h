#pragma once

#include <string>

namespace loader {

// What the system says about an error code, without the full stop and line end.
std::string SystemErrorText(unsigned long code);

}  // namespace loader
