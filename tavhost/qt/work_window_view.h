#pragma once

#include <QMainWindow>

#include "tavhost/qt/tool_docks.h"
#include "tavhost/ui/models/work_window_model.h"

namespace ui {

// The work window where there is no workbench: a window of tools.
class WorkWindowView final : public QMainWindow {
 public:
  explicit WorkWindowView(WorkWindowModel& model);

  ToolDocks& Docks() { return docks_; }

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  WorkWindowModel& model_;
  ToolDocks docks_;
};

}  // namespace ui
