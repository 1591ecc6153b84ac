#pragma once

#include "tavhost/app/command_line.h"

namespace app {

// Settings of the script service that hold for each service of this program, whoever starts it: how
// quiet it is, and that requests leave no file open.
void CareForRequests(const Options& options);

}  // namespace app
