#include "tavhost/app/host.h"

#include "host/dialog/app_work_window.h"
#include "tavhost/app/client_answers.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/files/database_area.h"
#include "tavhost/headless/headless_toolkit.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/service/script_service.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/tools/modeling_shell.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/deferred_toolkit.h"
#include "tavhost/ui/qt_module.h"
#include "tavhost/ui/toolkit.h"

namespace app {

namespace {

bool Fail(int& exitCode, int code, const std::string& message) {
  WriteError("tavhost: " + message + "\n");
  exitCode = code;
  return false;
}

std::unique_ptr<ui::Toolkit> LoadWindows(const ui::QtOptions& options, std::string& error) {
  const ui::ModuleHost host{&event_loop::RunPostedWork, &event_loop::HasPostedWork,
                            &event_loop::ClearWakeUp, &stop::IsRequested,
                            event_loop::WakeUpDescriptor()};
  return ui::LoadQtToolkit(WindowsModuleFolder(), host, options, error);
}

// Real windows, loaded when a script first needs one: those that need none start as fast as
// without.
std::unique_ptr<ui::Toolkit> DeferWindows(std::unique_ptr<ui::Toolkit> headless,
                                          const ui::QtOptions& options) {
  return ui::DeferToolkit(std::move(headless), [options] {
    std::string error;
    std::unique_ptr<ui::Toolkit> windows = LoadWindows(options, error);
    if (!windows) WriteError("tavhost: there are no windows: " + error + "\n");
    return windows;
  });
}

}  // namespace

std::string WindowsModuleFolder() { return loader::PluginFolder() + "/../modules"; }

bool Host::StartUserInterface(const Options& options, int& exitCode) {
  const bool isAuto =
      options.userInterface == "auto" && ui::HasDisplay() && ui::HasQtModule(WindowsModuleFolder());
  const bool hasWindows = options.userInterface == "qt" || isAuto;
  if (!options.screenshotFolder.empty() && !hasWindows) {
    return Fail(exitCode, kExitUsage, "--screenshots needs real windows (--ui qt)");
  }
  const bool hasUser = hasWindows && ui::HasDisplay();
  ui::AnswerOptions answers = ui::ReadAnswerOption(options.answers ? &*options.answers : nullptr,
                                                   hasUser, IsInputTerminal());
  answers.recordPath = options.recordFile;
  hasUser_ = hasUser && !options.answers;
  std::string error;
  answers_ = ui::AnswerSession::Create(answers, error);
  if (!answers_) {
    WriteError(error.ends_with('\n') ? error : error + "\n");
    exitCode = kExitUsage;
    return false;
  }
  const auto answersOrClient = std::make_shared<ClientAnswers>(answers_);
  ui::HeadlessOptions headless;
  if (options.screen) headless.screen = *options.screen;
  headless.printer = options.printer;
  headless.quiet = options.quiet;
  headless.answers = answersOrClient;
  if (!options.quiet) headless.print = Print;
  if (!options.quiet && IsErrorTerminal()) headless.showStatus = ShowStatus;
  const ui::QtOptions windows{options.screen, options.printer, options.screenshotFolder,
                              answersOrClient};
  if (isAuto) {
    ui::SetToolkit(DeferWindows(ui::CreateHeadlessToolkit(headless), windows));
    return true;
  }
  std::unique_ptr<ui::Toolkit> toolkit =
      hasWindows ? LoadWindows(windows, error) : ui::CreateHeadlessToolkit(headless);
  if (!toolkit) return Fail(exitCode, kExitUsage, "there are no windows: " + error);
  ui::SetToolkit(std::move(toolkit));
  return true;
}

bool Host::LoadPlugins(const Options& options, int& exitCode) {
  std::string error;
  plugins_.emplace();
  const bool loaded = options.pluginPath.empty() ? plugins_->LoadFound(error)
                                                 : plugins_->Load(options.pluginPath, error);
  return loaded || Fail(exitCode, kExitNoPlugin, error);
}

std::unique_ptr<Host> Host::Start(const Options& options, int& exitCode) {
  std::unique_ptr<Host> host(new Host);
  if (!host->StartUserInterface(options, exitCode)) return nullptr;
  if (!options.traceFile.empty() && !trace::Open(options.traceFile)) {
    Fail(exitCode, kExitUsage, "cannot write the trace " + options.traceFile);
    return nullptr;
  }
  database_area::SetFolder(options.databaseFolder);
  main_frames::Create();
  work_window::Create();
  if (options.modelWindow) modeling_shell::SetModelWindow(true);
  script::RegisterHostPorts();
  if (options.dryRun) {
    host->dryRun_.emplace(Print);
    script::ScriptPort::TavScript().AddProvider(*host->dryRun_);  // before the plug-ins
  }
  if (!host->LoadPlugins(options, exitCode)) return nullptr;
  HandleInterrupts();
  if (options.timeoutSeconds > 0) StopAfter(options.timeoutSeconds);
  return host;
}

Host::~Host() {
  script::service::Shutdown();  // its requests need the plug-ins
  if (dryRun_) script::ScriptPort::TavScript().RemoveProvider(*dryRun_);
  plugins_.reset();  // what a plug-in still holds needs the windows
  work_window::Destroy();
  main_frames::Destroy();
  ui::SetToolkit(nullptr);
  trace::Close();
}

void Host::WaitForUser() {
  constexpr std::uint32_t kMilliseconds = 1000;
  const TavAppWorkWindow* const window = TavAppWorkWindow::GetGlobal();
  while (hasUser_ && window->IsVisible() && !stop::IsRequested()) {
    event_loop::WaitForEvents(kMilliseconds);
    event_loop::ProcessEvents();
  }
}

int Host::Finish(int exitCode) {
  std::string error;
  if (exitCode != kExitSuccess || answers_->Finish(error)) return exitCode;
  WriteError(error.ends_with('\n') ? error : error + "\n");
  return kExitNoAnswer;
}

}  // namespace app
