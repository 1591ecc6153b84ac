#include "tavhost/sv/main_frames.h"

#include <memory>

#include "host/sv/sys_win.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/sv/application.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/toolkit.h"

namespace main_frames {

namespace {

class MainWindow final : public SV::SysWin {
 public:
  MainWindow(SV::Window* parent, const char* title)
      : SysWin(parent, std::make_unique<ui::WindowModel>(title)) {}
};

struct Windows {
  std::unique_ptr<MainWindow> app;
  std::unique_ptr<MainWindow> work;
  std::unique_ptr<SV::Font> font;
  SV::Window* shownWork = nullptr;
};
// Freed by Destroy alone, not with the static objects at the end of the program: the toolkit and
// the trace, which closing a window needs, may be gone by then.
Windows& windows = *new Windows;

}  // namespace

namespace {

const SV::Font& AppFont() {
  if (!windows.font) {
    const ui::FontChoice font = ui::CurrentToolkit().ApplicationFont();
    windows.font = std::make_unique<SV::Font>(base::StringOf(font.name), SV::Size(0, font.height));
    trace::NameFixed("appfont", windows.font.get());
  }
  return *windows.font;
}

}  // namespace

void Create() {
  Destroy();
  windows.app = std::make_unique<MainWindow>(nullptr, "tavhost");
  windows.work = std::make_unique<MainWindow>(windows.app.get(), "");
  trace::NameFixed("app", windows.app.get());
  SetWork(nullptr);
  application::SetAppWindow(windows.app.get());
  application::SetAppFont(&AppFont);
}

void Destroy() {
  application::SetAppWindow(nullptr);
  application::SetAppFont(nullptr);
  if (windows.shownWork) trace::Forget(windows.shownWork);
  windows.shownWork = nullptr;
  windows.work.reset();
  windows.app.reset();
  windows.font.reset();
}

void SetTitle(const std::string& title) {
  if (windows.app) windows.app->Model().SetTitle(title);
}

SV::Window* App() { return windows.app.get(); }

SV::Window* Work() { return windows.shownWork; }

void SetWork(SV::Window* window) {
  if (windows.shownWork) trace::Forget(windows.shownWork);
  windows.shownWork = window ? window : windows.work.get();
  if (windows.shownWork) trace::NameFixed("top", windows.shownWork);
}

}  // namespace main_frames
