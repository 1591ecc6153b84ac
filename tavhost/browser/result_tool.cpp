#include "host/browser/result_tool.h"

#include "host/browser/shrink_expand_browser_objects.h"
#include "host/dialog/workbench.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/models/workbench_model.h"
#include "tavhost/ui/table/table_model.h"

TavResultTool::TavResultTool(TavWorkbench* workbench, SV::Window* parent, const SV::String& id)
    : Window(parent, std::make_unique<ui::ResultToolModel>()), workbench_(workbench), id_(id) {
  Tool().closeResult = [this](std::size_t index) { CloseResult(index); };
}

TavResultTool::~TavResultTool() {
  trace::Call call(this, "~TavResultTool");
  call.Write();
  RemoveAllResults();
}

ui::ResultToolModel& TavResultTool::Tool() { return static_cast<ui::ResultToolModel&>(Model()); }

void TavResultTool::AddResult(TavShrinkExpandBrowserObjects* result) {
  trace::Call call(this, "AddResult", trace::Object{result});
  std::unique_ptr<TavShrinkExpandBrowserObjects> owned(result);
  call.Write();
  results_.reserve(results_.size() + 1);  // so that it is in both or in none
  Tool().Add(result->Table());
  results_.push_back(std::move(owned));
}

void TavResultTool::AdjustAllRows() {
  trace::Call call(this, "AdjustAllRows");
  call.Write();
  ui::TableModel* const shown = Tool().Current();
  if (!shown) return;
  shown->ExpandAll(true);
}

// Called when the tool is shown or hidden. It keeps its results all the while, so nothing is done.
void TavResultTool::ToolListener(TavWorkbench* workbench) {
  trace::Call call(this, "ToolListener", trace::Window(workbench));
  call.Write();
}

// The user closes one result; with the last one the tool itself goes out of sight.
void TavResultTool::CloseResult(std::size_t index) {
  Tool().Remove(index);
  results_.erase(results_.begin() + static_cast<std::ptrdiff_t>(index));
  if (results_.empty()) workbench_->SetToolVisible(id_, false);
}

// The model removes each table first, so that views let go of it before it is freed.
void TavResultTool::RemoveAllResults() {
  while (!results_.empty()) {
    Tool().Remove(results_.size() - 1);
    results_.pop_back();
  }
}
