#pragma once

#include <memory>
#include <string>

#include "tavhost/base/result.h"
#include "tavhost/ui/qt_module.h"

namespace app {

// Where the module with real windows is: beside the folder of plug-ins.
std::string WindowsModuleFolder();

// Real windows. Fails with the reason why there are none. What makes windows ends the program where
// it cannot start; where that may be, a process of its own tries first.
base::Result<std::unique_ptr<ui::Toolkit>> LoadWindows(const ui::QtOptions& options);

// That process, `tavhost windows-child`: the exit code tells whether there are windows.
int TryWindows();

}  // namespace app
