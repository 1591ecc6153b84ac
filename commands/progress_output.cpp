// Progress windows, output windows, and what the end of a script clears away.
#include "commands/handlers.h"
#include "commands/message_window.h"

namespace commands {

void Command_INTERNAL_TAVSCRIPT_FINISHED(const char*, TavKelParser&, TavScriptResult&) {
  ReleaseMessageWindow();
}

}  // namespace commands
