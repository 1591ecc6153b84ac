#pragma once

#include <memory>

#include "host/base/size.h"
#include "host/base/string.h"
#include "host/dialog/tool_box_align.h"
#include "host/export.h"
#include "host/sv/link.h"
#include "host/sv/window.h"

namespace ui {
class WorkbenchModel;
}
class TavAppWorkWindow;

// The tools of the work window: windows docked at its sides, each known by an id. A tool that is
// hidden stays known. Sizes are pixels. Operations on an id that no tool has do nothing.
class TAV_HOST_API TavWorkbench {
 public:
  TavWorkbench(TavAppWorkWindow& window, ui::WorkbenchModel& model);
  TavWorkbench(const TavWorkbench&) = delete;
  TavWorkbench& operator=(const TavWorkbench&) = delete;
  ~TavWorkbench();

  // Takes ownership of the window. The tool is hidden at first. A tool that has the id already is
  // taken away, its window deleted.
  void AddTool(const SV::String& id, SV::Window* window, unsigned long flags);
  SV::Window* GetToolWindow(const SV::String& id);  // null when there is no such tool

  // Tools stand in the order of side, index, sub-index and id; those of one side and index share
  // one place, as tabs.
  void SetToolLocation(const SV::String& id, ToolBoxAlign align, long index, long subIndex);
  void SetToolTitle(const SV::String& id, const SV::String& title);
  void SetToolSubtitle(const SV::String& id, const SV::String& subtitle);
  // Vertical: the size of the tool at the left or the right; horizontal: at the top or the bottom.
  void SetToolPrefVerticalSizePixel(const SV::String& id, const SV::Size& size);
  void SetToolPrefHorizontalSizePixel(const SV::String& id, const SV::Size& size);
  void SetToolPrefFloatingSizePixel(const SV::String& id, const SV::Size& size);
  void SetToolMinVerticalSizePixel(const SV::String& id, const SV::Size& size);
  void SetToolMinHorizontalSizePixel(const SV::String& id, const SV::Size& size);
  void SetToolVisible(const SV::String& id, bool visible);
  // Whether the tool is visible when the user asks for the usual layout.
  void SetToolDefaultVisible(const SV::String& id, bool visible);
  // Called with the workbench whenever the tool was shown, hidden or given the focus.
  void AddToolListener(const SV::String& id, const SV::Link& listener);
  void ToolGrabFocus(const SV::String& id);

 private:
  class State;
  std::unique_ptr<State> state_;
};
