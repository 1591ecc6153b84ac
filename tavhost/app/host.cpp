#include "tavhost/app/host.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <new>
#include <system_error>
#include <tl/expected.hpp>

#include "host/dialog/app_work_window.h"
#include "tavhost/app/client_answers.h"
#include "tavhost/app/crash.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/request_care.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/watchdog.h"
#include "tavhost/app/window_module.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/one_line.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/open_output_files.h"
#include "tavhost/files/planned_functions.h"
#include "tavhost/headless/headless_toolkit.h"
#include "tavhost/headless/record_file.h"
#include "tavhost/loader/command_signals.h"
#include "tavhost/loader/path_text.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/runner.h"
#include "tavhost/service/script_service.h"
#include "tavhost/sv/main_frames.h"
#include "tavhost/tools/modeling_shell.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/deferred_toolkit.h"
#include "tavhost/ui/display.h"
#include "tavhost/ui/qt_module.h"
#include "tavhost/ui/toolkit.h"

namespace app {

namespace {

// What is wrong with a file stands behind its place, anything else behind the program's name.
void Tell(const base::Error& error) {
  const std::string text = error.file ? error.Text() : "tavhost: " + error.message;
  report::Line(text);
}

// Why the host does not start, said, as the exit code.
tl::unexpected<int> Refusal(int exitCode, const base::Error& error) {
  Tell(error);
  return tl::unexpected<int>(exitCode);
}

// Real windows, loaded when a script first needs one: those that need none start as fast as
// without. Where there are none after all, which is said, the run goes on without a display;
// `noWindows` is then called once.
std::unique_ptr<ui::Toolkit> DeferWindows(std::unique_ptr<ui::Toolkit> headless,
                                          const ui::QtOptions& options,
                                          const std::function<void()>& noWindows) {
  return ui::DeferToolkit(std::move(headless), [options, noWindows] {
    base::Result<std::unique_ptr<ui::Toolkit>> windows = LoadWindows(options);
    if (windows) return std::move(*windows);
    if (!stop::IsRequested()) {
      report::Line("tavhost: there are no windows: " + windows.error().message);
    }
    noWindows();
    return std::unique_ptr<ui::Toolkit>();
  });
}

bool isAllWritten = true;

// The run goes on without it, and its exit code tells.
void TellNotWritten(const std::string& what, std::string_view file, std::string_view reason) {
  report::Line("tavhost: " + what + ' ' + std::string(file) +
               " cannot be written: " + std::string(reason));
  isAllWritten = false;
}

// The folder that an option names is there, or can be made in one that is: a path that is misspelt
// would otherwise be found out by the first command that needs it, in the middle of the work.
base::Result<void> CheckFolder(const std::string& option, const std::string& folder) {
  if (folder.empty()) return {};
  std::filesystem::path path = loader::ToPath(folder);
  // Behind a link `..` leads elsewhere than the text says.
  if (std::find(path.begin(), path.end(), "..") == path.end()) path = path.lexically_normal();
  std::error_code error;  // what cannot be looked at is not there
  if (std::filesystem::is_directory(path, error)) return {};
  if (std::filesystem::exists(path, error)) {
    return base::Failure(option + ": " + folder + " is no folder");
  }
  const std::filesystem::path named = path.has_filename() ? path : path.parent_path();
  const std::filesystem::path above = named.parent_path();
  if (above.empty() || std::filesystem::is_directory(above, error)) return {};
  return base::Failure(option + ": there is no folder " + loader::ToText(above));
}

// What a long operation does, on the terminal that standard error is.
void ShowLongWork(std::string_view line) {
  constexpr std::size_t kColumns = 79;  // a full line of the narrowest common terminal
  report::ShowStatus(base::OneLine(line, kColumns));
}

}  // namespace

base::Result<void> Host::StartUserInterface(const Options& options) {
  const bool isAuto =
      options.userInterface == "auto" && ui::HasDisplay() && ui::HasQtModule(WindowsModuleFolder());
  const bool hasWindows = options.userInterface == "qt" || isAuto;
  if (!options.screenshotFolder.empty() && !hasWindows) {
    return base::Failure("--screenshots needs real windows (--ui qt)");
  }
  const bool hasUser = hasWindows && ui::HasDisplay();
  ui::AnswerOptions answers = ui::ReadAnswerOption(options.answers ? &*options.answers : nullptr,
                                                   hasUser, IsInputTerminal());
  if (ui::RecordFile::IsPipeOrDevice(options.recordFile)) answers.recordPath = options.recordFile;
  hasUser_ = hasUser && !options.answers;
  base::Result<std::shared_ptr<ui::AnswerSession>> session = ui::AnswerSession::Create(answers);
  if (!session) return tl::unexpected<base::Error>(session.error());
  answers_ = std::move(*session);
  const auto answersOrClient = std::make_shared<ClientAnswers>(answers_);
  ui::HeadlessOptions headless;
  if (options.screen) headless.screen = *options.screen;
  headless.printer = options.printer;
  headless.quiet = options.quiet;
  headless.answers = answersOrClient;
  if (!options.quiet) headless.print = Print;
  if (!options.quiet && report::IsTerminal()) {
    headless.showStatus = report::ShowStatus;
    base::SetLongWorkShown(ShowLongWork);
  }
  const ui::QtOptions windows{options.screen, options.printer, options.screenshotFolder,
                              answersOrClient, [](std::string_view file, std::string_view reason) {
                                TellNotWritten("the picture", file, reason);
                              }};
  if (isAuto) {
    const bool wantsPictures = !options.screenshotFolder.empty();
    ui::SetToolkit(
        DeferWindows(ui::CreateHeadlessToolkit(headless), windows, [this, wantsPictures] {
          hasUser_ = false;
          isAllWritten = isAllWritten && !wantsPictures;
          answers_->GoOnWithoutDisplay(IsInputTerminal());
        }));
    return {};
  }
  base::Result<std::unique_ptr<ui::Toolkit>> toolkit =
      hasWindows ? LoadWindows(windows) : ui::CreateHeadlessToolkit(headless);
  if (!toolkit) return base::Failure("there are no windows: " + toolkit.error().message);
  ui::SetToolkit(std::move(*toolkit));
  return {};
}

base::Result<void> Host::LoadPlugins(const Options& options) {
  plugins_.emplace(WatchFromAside);
  return options.pluginPath.empty() ? plugins_->LoadFound() : plugins_->Load(options.pluginPath);
}

base::Result<std::unique_ptr<Host>, int> Host::Start(const Options& options) {
  std::unique_ptr<Host> host(new Host);
  for (const auto& [option, folder] : {std::pair("--db", options.databaseFolder),
                                       std::pair("--screenshots", options.screenshotFolder)}) {
    if (const base::Result<void> found = CheckFolder(option, folder); !found) {
      return Refusal(kExitUsage, found.error());
    }
  }
  if (const base::Result<void> shown = host->StartUserInterface(options); !shown) {
    return Refusal(kExitUsage, shown.error());
  }
  if (!options.traceFile.empty() && !trace::Open(options.traceFile)) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return Refusal(kExitUsage, {"cannot write the trace " + options.traceFile, {}, 0, 0});
  }
  host->traceFile_ = options.traceFile;
  host->recordFile_ = options.recordFile;
  database_area::SetFolder(options.databaseFolder);
  main_frames::Create();
  work_window::Create();
  if (options.modelWindow) modeling_shell::SetModelWindow(true);
  script::RegisterHostPorts();
  script::SetPrintOutsideScripts(Print);
  if (options.dryRun) host->StartDryRun(options.dryRunAsJson);
  if (const base::Result<void> loaded = host->LoadPlugins(options); !loaded) {
    return Refusal(kExitNoPlugin, loaded.error());
  }
  if (options.dryRun) {
    for (const std::string& path : host->plugins_->Paths()) planned_functions::ReplaceIn(path);
  }
  StartWatchdog();
  ReportExits();
  HandleInterrupts();
  loader::KeepSignals();
  if (const base::Result<void> begun = host->BeginRecord(); !begun) {
    return Refusal(kExitUsage, begun.error());
  }
  CareForRequests(options);
  host->hasStarted_ = true;
  return host;
}

// Not before interrupts end a run by its own way out, which leaves nothing of a record under way. A
// pipe is waited for earlier, where they end the program at once.
base::Result<void> Host::BeginRecord() {
  if (recordFile_.empty() || ui::RecordFile::IsPipeOrDevice(recordFile_)) return {};
  return answers_->RecordTo(recordFile_);
}

void Host::StartDryRun(bool asJson) {
  dryRunReport_.emplace(asJson);
  if (asJson) SetPrintForm(OutputObject);
  dryRun_.emplace(
      [this](const dry_run::Step& step) { dryRunReport_->Tell(step, dryRun_->Command()); });
  script::ScriptPort::TavScript().AddProvider(*dryRun_);  // before the plug-ins
}

void Host::FinishDryRun() {
  script::ScriptPort::TavScript().RemoveProvider(*dryRun_);
  dryRun_.reset();
  dryRunReport_->Finish();
  SetPrintForm(nullptr);
}

Host::~Host() {
  const memory_reserve::Use reserve;
  script::service::Shutdown();  // its requests need the plug-ins
  open_output_files::CloseAll();
  plugins_.reset();  // what a plug-in still holds needs the windows
  work_window::Destroy();
  main_frames::Destroy();
  base::SetLongWorkShown({});
  ui::SetToolkit(nullptr);
  if (dryRun_) FinishDryRun();  // what windows print at their end stands before the counts
  trace::Close();
  if (hasStarted_) TellWhatIsNotWritten();
}

void Host::TellWhatIsNotWritten() {
  if (const int error = trace::WriteError(); error != 0) {
    TellNotWritten("the trace", traceFile_, std::strerror(error));
  }
  if (const base::Result<void> kept = answers_->KeepRecord(); !kept) {
    TellNotWritten("the record", recordFile_, kept.error().message);
  }
}

bool Host::IsAllWritten() { return isAllWritten; }

void Host::WaitForUser() {
  constexpr std::uint32_t kMilliseconds = 1000;
  const TavAppWorkWindow* const window = TavAppWorkWindow::GetGlobal();
  while (hasUser_ && window->IsVisible() && !stop::IsRequested()) {
    event_loop::WaitForEvents(kMilliseconds);
    event_loop::ProcessEvents();
  }
}

void Host::DropOpenFiles() { open_output_files::DropAll(); }

int Host::Finish(int exitCode) {
  const bool areFilesStored = open_output_files::CloseAll();
  if (exitCode != kExitSuccess) return exitCode;
  if (!areFilesStored) return kExitScriptError;
  const base::Result<void> finished = answers_->Finish();
  if (finished) return kExitSuccess;
  Tell(finished.error());
  return kExitNoAnswer;
}

}  // namespace app
