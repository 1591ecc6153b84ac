#pragma once

#include <memory>
#include <vector>

#include "host/browser/forward.h"
#include "host/dialog/forward.h"
#include "host/sv/window.h"

namespace ui {
class ResultToolModel;
}

// A tool of the workbench that shows tables, one at a time.
class TAV_HOST_API TavResultTool : public SV::Window {
 public:
  ~TavResultTool() override;

  void AddResult(TavShrinkExpandBrowserObjects* result);  // takes ownership; it is shown
  void AdjustAllRows();  // of the table that is shown: fits their heights to their texts
  // What the workbench is to call when the tool was shown, hidden or given the focus.
  void ToolListener(TavWorkbench* workbench);

 protected:
  TavResultTool(TavWorkbench* workbench, SV::Window* parent, const SV::String& id);

  ui::ResultToolModel& Tool();
  void RemoveAllResults();

 private:
  void CloseResult(std::size_t index);

  TavWorkbench* workbench_;
  SV::String id_;
  std::vector<std::unique_ptr<TavShrinkExpandBrowserObjects>> results_;
};
