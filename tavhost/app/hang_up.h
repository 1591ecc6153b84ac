#pragma once

namespace app {

// From now on a run ends, as by a request to terminate, when nobody is left to see what it prints:
// the reader of standard output has gone, or the terminal of standard input or output. A run that
// prints rarely would otherwise go on for nobody. Not when the caller wants hang-ups ignored.
//
// A short run does not notice: it begins to look when it first waits or lets events through.
void EndAtHangUp();

// For a thread that looks from time to time while code runs that may not return: such a hang-up is
// noticed now, if none was. Waits for nothing.
void LookForHangUp() noexcept;

// Returns when standard input can be read, or has ended. Where that has to be waited for, such a
// hang-up ends the program; so does the end of an input that is a terminal which has gone: what was
// typed until then is only a part.
void WaitForInput();

// To be called at the end of an input: a terminal that has gone is such a hang-up, told by now.
void NoticeHangUp();

}  // namespace app
