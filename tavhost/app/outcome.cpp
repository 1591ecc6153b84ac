#include "tavhost/app/outcome.h"

#include <charconv>
#include <string>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/base/report.h"

namespace app {

namespace {

// A system would take what it likes of another number: 256 would be success.
int ExitCodeOfNumber(long number) {
  if (number >= 0 && number <= kExitMost) return static_cast<int>(number);
  report::Line("tavhost: exit " + std::to_string(number) + ": exit codes are 0 to " +
               std::to_string(kExitMost) + "; ended with " + std::to_string(kExitMost));
  return kExitMost;
}

}  // namespace

void ReportOutcome(const script::Outcome& outcome, const Options& options) {
  if (!outcome.parsed || outcome.exitType == TavScriptExitError) {
    report::Line(outcome.error.text);
  } else if (outcome.exitType == TavScriptExitStop) {
    const base::Diagnostic& at = outcome.error;
    const std::string inner = at.message.empty() ? at.message : "in " + at.message + ' ';
    ReportStop(outcome.stopReason, options,
               at.file.empty() ? at.file : inner + "at " + at.file + ':' + std::to_string(at.line));
  }
}

void ReportStop(stop::Reason reason, const Options& options, const std::string& where) {
  // One who interrupts knows it, and a missing answer has been told with its window.
  if (reason != stop::Reason::kTimeout) return;
  report::Line(TimeLimitText(options) + (where.empty() ? where : ' ' + where));
}

std::string TimeLimitText(const Options& options) {
  char seconds[32];
  const auto end = std::to_chars(seconds, seconds + sizeof seconds, options.timeoutSeconds).ptr;
  return "tavhost: stopped after " + std::string(seconds, end) + " s (--timeout)";
}

int ExitCodeOf(const script::Outcome& outcome) {
  if (!outcome.parsed) return kExitUsage;
  switch (outcome.exitType) {
    case TavScriptExitEnd:
      return kExitSuccess;
    case TavScriptExitCode:
      return ExitCodeOfNumber(outcome.code);
    case TavScriptExitError:
      return kExitScriptError;
    case TavScriptExitStop:
      return ExitCodeOf(outcome.stopReason);
  }
  return kExitScriptError;
}

int ExitCodeOf(stop::Reason reason) {
  if (reason == stop::Reason::kNoAnswer) return kExitNoAnswer;
  // A script is stopped as well when its output cannot be written, which is an error, not a wish.
  return FinishOutput() ? ExitCodeOfStop(reason) : kExitScriptError;
}

}  // namespace app
