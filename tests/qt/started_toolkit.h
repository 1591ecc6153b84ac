#pragma once

#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/qt_toolkit.h"

// The host with real windows and the real plug-in, started once for the program.
ui::QtToolkit& StartedToolkit();

// Stands for RunIde: the window is the main one, and scripts' tools are docks of it.
void TakeMainWindow(ui::ide_view::IdeWindow& window);
void LeaveMainWindow();
