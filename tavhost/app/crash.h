#pragma once

#include <string_view>

// The last word of a program that ends by a fault.
namespace app {

// From now on a fault writes out what was printed before it, then one line on standard error: the
// plug-in whose code it is, its command, the script's line, and the fault. The program then ends by
// the fault, as it would have without.
void ReportCrashes();

// From now on a plug-in whose command calls `exit` or `quick_exit` is told likewise, and the exit
// code is that of an error, whatever it wanted: the script has not come to its end.
void ReportExits();

// Platform part: calls it when the program ends by `quick_exit`, where that can be known.
void AtQuickExit(void (*tell)()) noexcept;

// The line about the code that runs now, in memory of its own; `cause` is the system's word for the
// fault. Without `details` what runs is left out: it is in no good order. Neither locks nor
// allocates.
std::string_view CrashLine(std::string_view cause, bool details) noexcept;

}  // namespace app
