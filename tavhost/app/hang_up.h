#pragma once

namespace app {

// From now on a run ends, as by a request to terminate, when nobody is left to see what it prints:
// the reader of standard output has gone, or the terminal of standard input or output. A run that
// prints rarely would otherwise go on for nobody. Not when the caller wants hang-ups ignored.
//
// A short run does not notice: it begins to look when it first waits or lets events through.
void EndAtHangUp();

}  // namespace app
