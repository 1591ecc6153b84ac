#pragma once

#include "host/sv/forward.h"

// How the host runs its modal dialogs.
namespace modal {

// A dialog can open another one: while it waits, events run code that does. This many inside each
// other are more than any script uses and no more than a display can show.
inline constexpr int kMaxNesting = 20;

// Runs the window's model, which must be a modal one, and returns its result. Throws stop::Stopped
// when the script is to end; the window then counts as cancelled. One dialog more than
// kMaxNesting is an error that ends the script.
long Run(SV::Window& window);

int Nesting();

}  // namespace modal
