#pragma once

#include "tavhost/app/command_line.h"
#include "tavhost/base/stop.h"
#include "tavhost/script/runner.h"

namespace app {

// Says on standard error why a script did not run to its end, where the user cannot know it yet.
void ReportOutcome(const script::Outcome& outcome, const Options& options);
void ReportStop(stop::Reason reason, const Options& options);

// The exit code of a run that ended so.
int ExitCodeOf(const script::Outcome& outcome);
int ExitCodeOf(stop::Reason reason);

}  // namespace app
