#pragma once

class QMenuBar;
class QWidget;

namespace ui::ide_view {

// Lists the keys of all entries of the menus until it is closed.
void ShowShortcuts(const QMenuBar& menus, QWidget& parent);

}  // namespace ui::ide_view
