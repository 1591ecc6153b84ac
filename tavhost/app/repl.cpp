#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "host/script/script.h"
#include "tavhost/analysis/completion.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/hang_up.h"
#include "tavhost/app/host.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/line_editor.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/prompt_values.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/reference/reference.h"
#include "tavhost/script/runner.h"

namespace app {

namespace {

constexpr char kPrompt[] = "tav> ";
constexpr char kContinuedPrompt[] = "...> ";
// Reads, runs and answers, line by line. A statement that is not complete goes on in the next line.
class Prompt {
 public:
  Prompt(script::RunOptions runOptions, const Options& options)
      : options_(options),
        session_(std::move(runOptions)),
        editor_(LineEditor::Create([this](std::string_view before) {
          return check::CompleteScript(pending_ + std::string(before), VariableNames());
        })),
        interactive_(IsInputTerminal()) {}

  // Returns the exit code.
  int Run() {
    if (interactive_) Print("TavScript prompt; help explains, Ctrl-D leaves.\n");
    for (;;) {
      const auto line = editor_->Read(pending_.empty() ? kPrompt : kContinuedPrompt);
      if (!line) NoticeHangUp();
      if (stop::IsRequested()) {
        if (DropInput()) continue;
        ReportStop(stop::Requested(), options_);
        return ExitCodeOf(stop::Requested());
      }
      if (!line) break;
      if (!TakeWithinMemory(*line)) return exitCode_;
    }
    // The input ended inside a statement: what is wrong with it is told.
    if (!pending_.empty()) RunText(pending_, true);
    if (interactive_) Print("\n");
    return exitCode_;
  }

 private:
  // Ctrl-C at the prompt drops the statement that is being typed. False when there is no user at a
  // terminal, or the program is to end: by the system's wish, because the time is over, or because
  // nothing can be shown any more.
  bool DropInput() {
    if (!interactive_ || stop::Requested() != stop::Reason::kUser || !FinishOutput()) return false;
    stop::Clear();
    ForgetInterrupts();
    pending_.clear();
    Print("\n");
    return true;
  }

  // False when the prompt is left. Where there is no memory for a line, it is dropped.
  bool TakeWithinMemory(const std::string& line) {
    try {
      return Take(line);
    } catch (const std::bad_alloc&) {
      pending_ = {};
      report::Line("tavhost: out of memory");
      return true;
    }
  }

  bool Take(const std::string& line) {
    if (pending_.empty() && TakeOwn(Trimmed(line))) return true;
    const std::string text = pending_ + line + "\n";
    pending_.clear();
    return RunText(text, false);
  }

  // Answers a line that needs no running. False when it is to be run.
  bool TakeOwn(std::string_view line) {
    if (line.empty()) return true;
    const std::optional<OwnAnswer> answer = AnswerOf(line);
    if (!answer) return false;
    editor_->Remember(std::string(line));
    if (answer->isError) {
      report::Line(answer->text);
    } else {
      Print(answer->text);
    }
    return true;
  }

  bool RunText(const std::string& entry, bool atEnd) {
    const std::string text = ScriptOf(entry);
    const std::string_view trimmed = Trimmed(entry);
    const Variables before = interactive_ ? AllVariables() : Variables();
    const script::Outcome outcome = session_.Run(base::StringOf(text));
    if (!outcome.parsed && outcome.error.incomplete && !atEnd) {
      pending_ = entry;
      return true;
    }
    editor_->Remember(std::string(trimmed));
    ReportOutcome(outcome, options_);
    if (outcome.parsed && outcome.exitType == TavScriptExitCode) {
      exitCode_ = ExitCodeOf(outcome);
      return false;
    }
    if (outcome.parsed && outcome.exitType == TavScriptExitStop) return GoOnAfterStop(outcome);
    if (interactive_ && reference::Catalogue::Get().Find(FirstName(trimmed))) {
      Print(ChangesSince(before));
    }
    return true;
  }

  // After a statement that was stopped. The prompt goes on, except where nobody sits at it to type
  // the next one, the time is over, or the output cannot be written.
  bool GoOnAfterStop(const script::Outcome& outcome) {
    exitCode_ = ExitCodeOf(outcome.stopReason);
    if (outcome.stopReason == stop::Reason::kTimeout || exitCode_ == kExitScriptError) return false;
    if (outcome.stopReason == stop::Reason::kTerminate) return false;
    if (!interactive_ && outcome.stopReason == stop::Reason::kUser) return false;
    ForgetInterrupts();
    if (outcome.stopReason == stop::Reason::kUser) report::Line("stopped");
    if (interactive_) exitCode_ = kExitSuccess;
    return true;
  }

  const Options& options_;
  script::Session session_;
  std::unique_ptr<LineEditor> editor_;
  bool interactive_;
  std::string pending_;  // the lines of a statement that goes on
  int exitCode_ = kExitSuccess;
};

}  // namespace

int RunPrompt(const CommandLine& line) {
  const auto host = Host::Start(line.options);
  if (!host) return host.error();
  EndAtHangUp();
  script::RunOptions options;
  options.name = "<prompt>";
  options.sinks.print = Print;
  options.sinks.error = report::Line;
  const int exitCode = Prompt(std::move(options), line.options).Run();
  return (*host)->Finish(exitCode);
}

}  // namespace app
