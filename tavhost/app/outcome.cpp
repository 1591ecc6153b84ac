#include "tavhost/app/outcome.h"

#include <charconv>
#include <string>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/base/report.h"

namespace app {

void ReportOutcome(const script::Outcome& outcome, const Options& options) {
  if (!outcome.parsed || outcome.exitType == TavScriptExitError) {
    report::Line(outcome.error.text);
  } else if (outcome.exitType == TavScriptExitStop) {
    ReportStop(outcome.stopReason, options);
  }
}

void ReportStop(stop::Reason reason, const Options& options) {
  // One who interrupts knows it, and a missing answer has been told with its window.
  if (reason != stop::Reason::kTimeout) return;
  char seconds[32];
  const auto end = std::to_chars(seconds, seconds + sizeof seconds, options.timeoutSeconds).ptr;
  report::Line("tavhost: stopped after " + std::string(seconds, end) + " s (--timeout)");
}

int ExitCodeOf(const script::Outcome& outcome) {
  if (!outcome.parsed) return kExitUsage;
  switch (outcome.exitType) {
    case TavScriptExitEnd:
      return kExitSuccess;
    case TavScriptExitCode:
      return static_cast<int>(outcome.code);
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
  return FinishOutput() ? kExitStopped : kExitScriptError;
}

}  // namespace app
