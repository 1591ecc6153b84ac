#pragma once

#include "tavhost/base/descriptor_posix.h"

namespace windows {

using base::Descriptor;

}  // namespace windows
