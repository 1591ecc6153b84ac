#include "host/browser/dockable_browser_tool.h"

#include "host/browser/shrink_expand_browser_objects.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/models/workbench_model.h"

using Button = ui::ResultToolModel;

TavDockableBrowserTool::TavDockableBrowserTool(TavWorkbench* workbench, SV::Window* parent,
                                               const SV::String& id, long width, long height)
    : TavResultTool(workbench, parent, id) {
  trace::Call call("TavDockableBrowserTool::TavDockableBrowserTool", trace::Window(workbench),
                   trace::Window(parent), id, width, height);
  call.Created("TavDockableBrowserTool", this);
}

TavDockableBrowserTool::~TavDockableBrowserTool() = default;

void TavDockableBrowserTool::ShowPrevButton(bool show) {
  trace::Call call(this, "ShowPrevButton", show);
  call.Write();
  Tool().ShowButton(Button::kPrevious, show);
}

void TavDockableBrowserTool::ShowNextButton(bool show) {
  trace::Call call(this, "ShowNextButton", show);
  call.Write();
  Tool().ShowButton(Button::kNext, show);
}

void TavDockableBrowserTool::ShowCloseButton(bool show) {
  trace::Call call(this, "ShowCloseButton", show);
  call.Write();
  Tool().ShowButton(Button::kClose, show);
}

void TavDockableBrowserTool::ShowSaveButton(bool show) {
  trace::Call call(this, "ShowSaveButton", show);
  call.Write();
  Tool().ShowButton(Button::kSave, show);
}

void TavDockableBrowserTool::ShowPrintButton(bool show) {
  trace::Call call(this, "ShowPrintButton", show);
  call.Write();
  Tool().ShowButton(Button::kPrint, show);
}

void TavDockableBrowserTool::ShowSearchButton(bool show) {
  trace::Call call(this, "ShowSearchButton", show);
  call.Write();
  Tool().ShowButton(Button::kSearch, show);
}

void TavDockableBrowserTool::CloseAllResults() {
  trace::Call call(this, "CloseAllResults");
  call.Write();
  RemoveAllResults();
}
