#pragma once

#include <QTreeWidget>

namespace ide {
class IdeHost;
}  // namespace ide

namespace ui::ide_view {

// The variables of what ran last, or of the script that is paused. The host outlives it.
class VariablesPane final : public QTreeWidget {
 public:
  explicit VariablesPane(ide::IdeHost& host);

  // Shows them as they are now. Nothing while nobody sees the pane: large values cost time.
  void Refresh();

 private:
  ide::IdeHost& host_;
};

}  // namespace ui::ide_view
