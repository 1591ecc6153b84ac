#pragma once

#include "tavhost/ui/qt/qt_toolkit.h"

// The host with real windows and the real plug-in, started once for the program.
ui::QtToolkit& StartedToolkit();
