#include <cstdlib>
#include <string>
#include <tl/expected.hpp>

#include "host/base/string.h"
#include "host/dialog/startup_box.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/ide_services.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/app/window_module.h"
#include "tavhost/base/report.h"
#include "tavhost/dialog/startup_box.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/ui/display.h"
#include "tavhost/ui/qt_module.h"
#include "tavhost/ui/toolkit.h"

namespace app {

namespace {

// Whether the windows can be shown.
base::Result<void> CheckWindows(const Options& options) {
  const std::string kTry = "\nTry 'tavhost run SCRIPT', 'tavhost repl' or 'tavhost --help'.";
  if (options.userInterface == "headless") {
    return base::Failure("the workbench needs windows; --ui headless has none" + kTry);
  }
  if (!ui::HasDisplay() && !std::getenv("QT_QPA_PLATFORM")) {
    return base::Failure("the workbench needs a display, and there is none" + kTry);
  }
  if (!ui::HasQtModule(WindowsModuleFolder())) {
    return base::Failure("the workbench needs the module for windows, which is not installed (" +
                         WindowsModuleFolder() + ")" + kTry);
  }
  return {};
}

}  // namespace

int RunIde(const CommandLine& line) {
  if (const base::Result<void> windows = CheckWindows(line.options); !windows) {
    report::Line("tavhost: " + windows.error().message);
    return kExitUsage;
  }
  Options options = line.options;
  options.userInterface = "qt";
  const auto host = Host::Start(options);
  if (!host) return host.error();
  const base::Result<ui::RunIdeFunction*> run = ui::LoadIde(WindowsModuleFolder());
  if (!run) {
    report::Line("tavhost: there is no workbench: " + run.error().message);
    return kExitUsage;
  }
  startup_box::Show();
  TavStartupBox::GetGlobal()->SetAdditionalMessage("Opening the workbench");
  IdeServices services;
  ide::IdeOptions ideOptions;
  ideOptions.files = line.operands;
  ideOptions.shown = [] { startup_box::Hide(); };
  (*run)(ui::CurrentToolkit(), services, ideOptions);
  startup_box::Hide();
  const stop::Reason end = services.EndReason();
  if (end == stop::Reason::kNone) return (*host)->Finish(kExitSuccess);
  ReportStop(end, line.options);
  return ExitCodeOf(end);
}

}  // namespace app
