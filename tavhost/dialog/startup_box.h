#pragma once

#include "host/base/forward.h"

// The host's side of the start-up box.
namespace startup_box {

void Show();
void Hide();
SV::String AdditionalMessage();

}  // namespace startup_box
