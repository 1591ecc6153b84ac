#pragma once

#include "tavhost/ui/models/workbench_model.h"

namespace ui {

// The work window. It is shown while one of its tools is, unless the user has closed it.
class WorkWindowModel final : public WindowModel {
 public:
  WindowContent Content() const override { return WindowContent::kWorkbench; }

  WorkbenchModel workbench;
};

}  // namespace ui
