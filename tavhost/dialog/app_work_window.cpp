#include "host/dialog/app_work_window.h"

#include "host/dialog/workbench.h"
#include "tavhost/base/never_destroyed.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/toolkit.h"

namespace {

// Freed by work_window::Destroy alone, not with the static objects at the end of the program.
std::unique_ptr<TavAppWorkWindow>& Global() {
  static base::NeverDestroyed<std::unique_ptr<TavAppWorkWindow>> global;
  return *global;
}

ui::WorkWindowModel& WorkWindow(SV::Window& window) {
  return static_cast<ui::WorkWindowModel&>(window.Model());
}

}  // namespace

TavAppWorkWindow::TavAppWorkWindow(SV::Window* parent)
    : Window(parent, std::make_unique<ui::WorkWindowModel>()),
      workbench_(std::make_unique<TavWorkbench>(*this, WorkWindow(*this).workbench)) {
  trace::NameFixed("TavWorkbench", workbench_.get());
}

TavAppWorkWindow::~TavAppWorkWindow() {
  workbench_.reset();
  if (ui::HasToolkit()) ui::CurrentToolkit().SetWorkWindow(nullptr);
}

TavAppWorkWindow* TavAppWorkWindow::GetGlobal() {
  trace::Call call("TavAppWorkWindow::GetGlobal");
  return call.ResultObject(Global().get());
}

TavWorkbench* TavAppWorkWindow::GetWorkbench() {
  trace::Call call(this, "GetWorkbench");
  return call.ResultObject(workbench_.get());
}

namespace work_window {

void Create() {
  Destroy();
  Global() = std::make_unique<TavAppWorkWindow>(main_frames::App());
  main_frames::SetWork(Global().get());
  ui::CurrentToolkit().SetWorkWindow(&WorkWindow(*Global()));
}

void Destroy() {
  if (!Global()) return;
  main_frames::SetWork(nullptr);
  Global().reset();
}

}  // namespace work_window
