#pragma once

#include "host/script/message_port_command.h"

namespace plugin {

inline constexpr int kCommandCount = 76;

// Every command of the port and its handler, in the order in which the port lists them, then a
// row of two nulls. Constant data.
extern const TavMessagePortCommand kCommandTable[kCommandCount + 1];

}  // namespace plugin
