#pragma once

#include <QTreeWidget>
#include <functional>
#include <vector>

#include "tavhost/base/diagnostic.h"

namespace ui::ide_view {

class EditorTabs;

// The mistakes that were found last: a list of them, and a mark at the place of each in the open
// scripts. The tabs outlive it.
class ProblemsPane final : public QTreeWidget {
 public:
  explicit ProblemsPane(EditorTabs& tabs);

  // Replaces those that were shown before.
  void Show(const std::vector<base::Diagnostic>& mistakes);
  // Chooses the one so many further than the present one, round the ends of the list. False when
  // there is none.
  bool Choose(int step);

  // A problem was chosen; lines and columns count from 1.
  std::function<void(const QString& file, int line, int column)> chosen;

 private:
  void Open(const QTreeWidgetItem& item) const;

  EditorTabs& tabs_;
};

}  // namespace ui::ide_view
