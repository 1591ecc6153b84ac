#pragma once

#include <QDockWidget>
#include <QMainWindow>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "tavhost/ui/models/workbench_model.h"

class QHelpEvent;

namespace ui {

// The tools of a workbench as docks of a main window. Tools of one side and index are tabs of one
// place; other indices stand beside it, in their order. What the user moves stays where it is put.
// Texts and tables take all room there is; drawings and the like have the size that they are given.
class ToolDocks final : public QObject, private WorkbenchObserver {
 public:
  // `middle`, if any, is the window's central widget, shown where no tool takes the room.
  ToolDocks(QMainWindow& window, WorkbenchModel& workbench, QWidget* middle = nullptr);
  ToolDocks(const ToolDocks&) = delete;
  ToolDocks& operator=(const ToolDocks&) = delete;
  ~ToolDocks() override;

  QDockWidget* Dock(std::string_view id) const;  // null when there is none
  // Show or hide a tool, in the tools' order; for a menu. Tools whose user may not close them are
  // left out. The actions belong to the docks.
  std::vector<QAction*> Actions() const;
  // Shows the tools that are visible by default and hides the others, but for those that hiding all
  // tools leaves.
  void ShowDefaults();
  // Lets all tools show at once what they would show a little later.
  void Flush();

  // Called with a dock before its tool goes.
  std::function<void(QDockWidget&)> closing;

 private:
  struct Entry {
    QDockWidget* dock;
    QWidget* content;
    bool placed = false;
  };

  void ToolAdded(Tool& tool) override;
  void ToolRemoved(Tool& tool) override;
  void ToolChanged(Tool& tool, ToolChange change) override;
  void FocusWanted(Tool& tool) override;
  bool eventFilter(QObject* object, QEvent* event) override;
  static bool ShowTip(QDockWidget& dock, const QHelpEvent& event);

  void ShowTitle(const Tool& tool);
  void Place(const Tool& tool);
  void ShowVisible(Tool& tool);
  static QSize LeastOf(const Tool& tool);
  QSize Excess();
  void ApplyMinimums();
  void ScrollContents();
  void ApplySizes(const Tool& tool);
  void ShowMiddle();
  std::vector<const Tool*> PlacedBeside(const Tool& tool) const;

  QMainWindow& window_;
  WorkbenchModel& workbench_;
  QWidget* const middle_;
  std::map<const Tool*, Entry> entries_;
};

}  // namespace ui
