#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tavhost/app/command_line.h"
#include "tavhost/app/dry_run_report.h"
#include "tavhost/base/result.h"
#include "tavhost/files/dry_run.h"
#include "tavhost/headless/answer_session.h"
#include "tavhost/loader/plugins.h"

namespace app {

// The host as the options ask for it: a user interface, the trace, the plug-ins. There is one at a
// time, and commands can be sent as long as it lives.
class Host {
 public:
  // When it cannot start, why has been said, and the exit code stands in its place.
  static base::Result<std::unique_ptr<Host>, int> Start(const Options& options);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  // Stays while the user has the work window open; returns at once where there is no user.
  void WaitForUser();

  // Whether all that was to be written of runs is: trace, record, pictures. Known when the host has
  // ended; what is not has been said.
  static bool IsAllWritten();

  // What the exit code is in the end, though all went well: 1 when a file that a script left open
  // could not be stored, 3 when answers are left over.
  int Finish(int exitCode);

  // Files of the database area that are being written stay as they were: the run was cut short by a
  // stop or an error, so that nobody knows whether they are whole.
  void DropOpenFiles();

 private:
  Host() = default;
  base::Result<void> StartUserInterface(const Options& options);
  base::Result<void> LoadPlugins(const Options& options);
  base::Result<void> BeginRecord();
  void StartDryRun(bool asJson);
  void FinishDryRun();
  void TellWhatIsNotWritten();

  std::shared_ptr<ui::AnswerSession> answers_;
  std::optional<DryRunReport> dryRunReport_;
  std::optional<DryRun> dryRun_;
  std::optional<loader::Plugins> plugins_;
  bool hasUser_ = false;     // who answers windows
  bool hasStarted_ = false;  // commands can have been sent
  std::string traceFile_;    // as the options name it; empty: none
  std::string recordFile_;   // likewise
};

}  // namespace app
