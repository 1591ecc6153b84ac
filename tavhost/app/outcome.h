#pragma once

#include <string>

#include "tavhost/app/command_line.h"
#include "tavhost/base/stop.h"
#include "tavhost/script/runner.h"

namespace app {

// Says on standard error why a script did not run to its end, where the user cannot know it yet.
void ReportOutcome(const script::Outcome& outcome, const Options& options);
// `where`: what was stopped, if that is known: `at a.tav:3`.
void ReportStop(stop::Reason reason, const Options& options, const std::string& where = {});

// What is said when the time of a program is over.
std::string TimeLimitText(const Options& options);

// The exit code of a run that ended so. An `exit` with a number that is no exit code is told.
int ExitCodeOf(const script::Outcome& outcome);
int ExitCodeOf(stop::Reason reason);

}  // namespace app
