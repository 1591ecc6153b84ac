#pragma once

// The host's side of the start-up box: a window with a text while the program starts. While it
// shows, plug-ins write into it by TavStartupBox; otherwise there is none.
namespace startup_box {

void Show();
void Hide();

}  // namespace startup_box
