#include "host/dialog/workbench.h"

#include <map>
#include <string>
#include <utility>

#include "host/dialog/app_work_window.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/workbench_model.h"

namespace {

// Other numbers mean the left side.
ui::ToolSide SideOf(ToolBoxAlign align) {
  switch (align) {
    case ToolBoxAlignTop:
      return ui::ToolSide::kTop;
    case ToolBoxAlignRight:
      return ui::ToolSide::kRight;
    case ToolBoxAlignBottom:
      return ui::ToolSide::kBottom;
    default:
      return ui::ToolSide::kLeft;
  }
}

}  // namespace

// Owns the tools' windows. The work window shows as long as at least one tool is visible.
class TavWorkbench::State final : public ui::WorkbenchObserver {
 public:
  State(TavAppWorkWindow& workWindow, ui::WorkbenchModel& workbench)
      : window(workWindow), model(workbench) {
    model.AddObserver(*this);
  }
  ~State() {
    while (!windows.empty()) Remove(windows.begin()->first);
    model.RemoveObserver(*this);
  }

  ui::Tool* Find(const SV::String& id) const { return model.Find(id.View()); }

  // Taken out of the map first and freed last: until the model has removed the tool, views may
  // still look at its window.
  void Remove(const std::string& id) {
    const auto found = windows.find(id);
    if (found == windows.end()) return;
    const auto removed = windows.extract(found);
    model.Remove(removed.key());
  }

  void ToolChanged(ui::Tool&, ui::ToolChange change) override {
    if (change == ui::ToolChange::kVisible) UpdateWindow();
  }

  void UpdateWindow() { window.Show(model.HasVisible()); }

  void SetSize(const SV::String& id, std::optional<SV::Size> ui::Tool::*which,
               const SV::Size& size) {
    if (ui::Tool* const tool = Find(id)) model.SetSize(*tool, which, size);
  }

  TavAppWorkWindow& window;
  ui::WorkbenchModel& model;
  std::map<std::string, std::unique_ptr<SV::Window>> windows;
};

TavWorkbench::TavWorkbench(TavAppWorkWindow& window, ui::WorkbenchModel& model)
    : state_(std::make_unique<State>(window, model)) {}

TavWorkbench::~TavWorkbench() { trace::Forget(this); }

void TavWorkbench::AddTool(const SV::String& id, SV::Window* window, unsigned long flags) {
  trace::Call call(this, "AddTool", id, trace::Window(window), flags);
  call.Write();
  std::string name(id.View());
  const auto before = state_->windows.find(name);
  // A tool that gets the window it already has must not free it with its old entry.
  if (before != state_->windows.end() && before->second.get() == window) {
    static_cast<void>(before->second.release());
  }
  state_->Remove(name);
  ui::WindowModel* const content = window ? &window->Model() : nullptr;
  state_->windows[name].reset(window);
  state_->model.Add(std::move(name), content, static_cast<unsigned>(flags));
}

SV::Window* TavWorkbench::GetToolWindow(const SV::String& id) {
  trace::Call call(this, "GetToolWindow", id);
  const auto found = state_->windows.find(std::string(id.View()));
  return call.ResultObject(found == state_->windows.end() ? nullptr : found->second.get());
}

void TavWorkbench::SetToolLocation(const SV::String& id, ToolBoxAlign align, long index,
                                   long subIndex) {
  trace::Call call(this, "SetToolLocation", id, align, index, subIndex);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) {
    state_->model.SetLocation(*tool, {SideOf(align), index, subIndex});
  }
}

void TavWorkbench::SetToolTitle(const SV::String& id, const SV::String& title) {
  trace::Call call(this, "SetToolTitle", id, title);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) {
    state_->model.SetTitle(*tool, std::string(title.View()));
  }
}

void TavWorkbench::SetToolSubtitle(const SV::String& id, const SV::String& subtitle) {
  trace::Call call(this, "SetToolSubtitle", id, subtitle);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) {
    state_->model.SetSubtitle(*tool, std::string(subtitle.View()));
  }
}

void TavWorkbench::SetToolPrefVerticalSizePixel(const SV::String& id, const SV::Size& size) {
  trace::Call call(this, "SetToolPrefVerticalSizePixel", id, size);
  call.Write();
  state_->SetSize(id, &ui::Tool::verticalSize, size);
}

void TavWorkbench::SetToolPrefHorizontalSizePixel(const SV::String& id, const SV::Size& size) {
  trace::Call call(this, "SetToolPrefHorizontalSizePixel", id, size);
  call.Write();
  state_->SetSize(id, &ui::Tool::horizontalSize, size);
}

void TavWorkbench::SetToolPrefFloatingSizePixel(const SV::String& id, const SV::Size& size) {
  trace::Call call(this, "SetToolPrefFloatingSizePixel", id, size);
  call.Write();
  state_->SetSize(id, &ui::Tool::floatingSize, size);
}

void TavWorkbench::SetToolMinVerticalSizePixel(const SV::String& id, const SV::Size& size) {
  trace::Call call(this, "SetToolMinVerticalSizePixel", id, size);
  call.Write();
  state_->SetSize(id, &ui::Tool::leastVerticalSize, size);
}

void TavWorkbench::SetToolMinHorizontalSizePixel(const SV::String& id, const SV::Size& size) {
  trace::Call call(this, "SetToolMinHorizontalSizePixel", id, size);
  call.Write();
  state_->SetSize(id, &ui::Tool::leastHorizontalSize, size);
}

void TavWorkbench::SetToolVisible(const SV::String& id, bool visible) {
  trace::Call call(this, "SetToolVisible", id, visible);
  call.Write();
  ui::Tool* const tool = state_->Find(id);
  if (!tool) return;
  state_->model.SetVisible(*tool, visible);
  state_->UpdateWindow();  // the user may have closed the work window while the tool was visible
}

void TavWorkbench::SetToolDefaultVisible(const SV::String& id, bool visible) {
  trace::Call call(this, "SetToolDefaultVisible", id, visible);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) tool->defaultVisible = visible;
}

void TavWorkbench::AddToolListener(const SV::String& id, const SV::Link& listener) {
  trace::Call call(this, "AddToolListener", id);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) {
    state_->model.AddListener(*tool, [this, listener] {
      const trace::PluginScope plugin;  // the function is the plug-in's
      listener.Call(this);
    });
  }
}

void TavWorkbench::ToolGrabFocus(const SV::String& id) {
  trace::Call call(this, "ToolGrabFocus", id);
  call.Write();
  if (ui::Tool* const tool = state_->Find(id)) state_->model.WantFocus(*tool);
}
