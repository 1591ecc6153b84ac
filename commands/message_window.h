#pragma once

namespace commands {

// Takes away the message window that MSGWIN shows, if there is one; it is gone then for every
// script.
void ReleaseMessageWindow();

}  // namespace commands
