#include <cstdlib>
#include <string>

#include "host/base/string.h"
#include "host/dialog/startup_box.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/ide_services.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/dialog/startup_box.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/ui/qt_module.h"
#include "tavhost/ui/toolkit.h"

namespace app {

namespace {

// Whether the windows can be shown; `error` says why not.
bool HasWindows(const Options& options, std::string& error) {
  constexpr char kTry[] = "\nTry 'tavhost run SCRIPT', 'tavhost repl' or 'tavhost --help'.";
  if (options.userInterface == "headless") {
    error = std::string("the workbench needs windows; --ui headless has none") + kTry;
  } else if (!ui::HasDisplay() && !std::getenv("QT_QPA_PLATFORM")) {
    error = std::string("the workbench needs a display, and there is none") + kTry;
  } else if (!ui::HasQtModule(WindowsModuleFolder())) {
    error = "the workbench needs the module for windows, which is not installed (" +
            WindowsModuleFolder() + ")" + kTry;
  }
  return error.empty();
}

}  // namespace

int RunIde(const CommandLine& line) {
  std::string error;
  if (!HasWindows(line.options, error)) {
    WriteError("tavhost: " + error + "\n");
    return kExitUsage;
  }
  int exitCode = kExitSuccess;
  Options options = line.options;
  options.userInterface = "qt";
  const auto host = Host::Start(options, exitCode);
  if (!host) return exitCode;
  ui::RunIdeFunction* const run = ui::LoadIde(WindowsModuleFolder(), error);
  if (!run) {
    WriteError("tavhost: there is no workbench: " + error + "\n");
    return kExitUsage;
  }
  startup_box::Show();
  TavStartupBox::GetGlobal()->SetAdditionalMessage("Opening the workbench");
  IdeServices services;
  ide::IdeOptions ideOptions;
  ideOptions.files = line.operands;
  ideOptions.shown = [] { startup_box::Hide(); };
  run(ui::CurrentToolkit(), services, ideOptions);
  startup_box::Hide();
  if (services.IsEndAsked()) exitCode = kExitStopped;
  return exitCode == kExitSuccess ? host->Finish(exitCode) : exitCode;
}

}  // namespace app
