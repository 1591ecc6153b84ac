#include <cstdio>
#include <cstdlib>
#include <string>
#include <tl/expected.hpp>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/loader/plugins.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/ui/current_toolkit.h"
#include "tests/qt/started_toolkit.h"

ui::QtToolkit& StartedToolkit() {
  static ui::QtToolkit* toolkit = nullptr;
  if (toolkit) return *toolkit;
  const ui::ModuleHost host{&event_loop::RunPostedWork,     &event_loop::HasPostedWork,
                            &event_loop::ClearWakeUp,       &stop::IsRequested,
                            event_loop::WakeUpDescriptor(), &report::Line};
  auto made = std::make_unique<ui::QtToolkit>(host, ui::QtOptions{});
  toolkit = made.get();
  ui::SetToolkit(std::move(made));
  main_frames::Create();
  work_window::Create();
  script::RegisterHostPorts();
  static loader::Plugins plugins;
  if (const base::Result<void> loaded = plugins.Load(TAVHOST_TEST_PLUGIN); !loaded) {
    std::fprintf(stderr, "%s\n", loaded.error().message.c_str());
    std::abort();
  }
  return *toolkit;
}

void TakeMainWindow(ui::ide_view::IdeWindow& window) {
  ui::QtToolkit& toolkit = StartedToolkit();
  toolkit.SetMainWindow(&window);
  window.ShowTools(toolkit.WorkWindow()->workbench);
  toolkit.SetToolsShownElsewhere(true);
}

void LeaveMainWindow() { StartedToolkit().SetMainWindow(nullptr); }
