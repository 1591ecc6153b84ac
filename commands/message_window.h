#pragma once

namespace commands {

// Takes away the message window that MSGWIN shows, if there is one. There is one for all scripts.
void ReleaseMessageWindow();

}  // namespace commands
