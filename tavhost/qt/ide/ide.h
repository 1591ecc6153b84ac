#pragma once

#include "tavhost/ide/ide_host.h"

namespace ui {

class QtToolkit;

// Shows the workbench until it is closed. The toolkit is the one in use.
void RunIde(QtToolkit& toolkit, ide::IdeHost& host, const ide::IdeOptions& options);

}  // namespace ui
