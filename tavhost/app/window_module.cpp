#include "tavhost/app/window_module.h"

#include <chrono>
#include <cstdlib>
#include <tl/expected.hpp>

#include "tavhost/app/exit_codes.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"
#include "tavhost/loader/child_process.h"
#include "tavhost/loader/plugins.h"
#include "tavhost/ui/display.h"

namespace app {

namespace {

// It takes a tenth of a second.
constexpr std::chrono::seconds kTimeToStart{10};

// Like a hang-up. What shows windows is in the middle of something and cannot be left in order.
[[noreturn]] void EndWithoutDisplay() {
  LeftoverFile::RemoveAll();
  standard_write::FlushOutputIfFree();
  report::LineAtCrash("tavhost: the display has gone\n");
  std::_Exit(kExitTerminated);
}

base::Result<std::unique_ptr<ui::Toolkit>> Load(const ui::QtOptions& options) {
  const ui::ModuleHost host{
      &event_loop::RunPostedWork, &event_loop::HasPostedWork,     &event_loop::ClearWakeUp,
      &stop::IsRequested,         event_loop::WakeUpDescriptor(), &report::Line,
      &EndWithoutDisplay};
  return ui::LoadQtToolkit(WindowsModuleFolder(), host, options);
}

base::Result<void> CheckPlatform() {
  if (ui::IsPlatformSure()) return {};
  const loader::ChildOutcome tried = loader::RunChild({"windows-child"}, kTimeToStart);
  if (tried.end == loader::ChildOutcome::End::kExited && tried.code == kExitSuccess) return {};
  const std::string platform(ui::WantedPlatform());
  if (platform.empty()) return base::Failure("what shows windows on this display cannot start");
  return base::Failure("the platform \"" + platform +
                       "\", which QT_QPA_PLATFORM names, cannot start");
}

}  // namespace

std::string WindowsModuleFolder() { return loader::PluginFolder() + "/../modules"; }

base::Result<std::unique_ptr<ui::Toolkit>> LoadWindows(const ui::QtOptions& options) {
  if (const base::Result<void> display = ui::CheckDisplay(); !display) {
    return tl::unexpected<base::Error>(display.error());
  }
  if (const base::Result<void> platform = CheckPlatform(); !platform) {
    return tl::unexpected<base::Error>(platform.error());
  }
  return Load(options);
}

int TryWindows() {
  loader::CrashQuietly();
  loader::EndWithParent();
  return Load({}) ? kExitSuccess : kExitUsage;
}

}  // namespace app
