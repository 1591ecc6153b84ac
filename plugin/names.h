#pragma once

#include "host/sv/string.h"

namespace names {

// The name of a parameter or variable as a string. Handlers use the same few literals over and
// over; each keeps its string, found by its address, so that naming something allocates nothing.
// The string may make room for another at the next call.
const SV::String& Kept(const char* name);

}  // namespace names
