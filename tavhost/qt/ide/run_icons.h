#pragma once

#include <QIcon>

namespace ui::ide_view {

// Green to run, red to stop, grey where they are disabled; `side` in pixels. They are painted here
// because the style's own are black, on dark windows too.
QIcon RunIcon(int side);
QIcon StopIcon(int side);

}  // namespace ui::ide_view
