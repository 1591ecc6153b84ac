#pragma once

#include "tavhost/qt/qt_toolkit.h"
#include "tavhost/qt/ide/ide_window.h"

// The host with real windows and the real plug-in, started once for the program.
ui::QtToolkit& StartedToolkit();

// Stands for RunWorkbench: the window is the main one, and scripts' tools are docks of it.
void TakeMainWindow(ui::workbench_view::WorkbenchWindow& window);
void LeaveMainWindow();
