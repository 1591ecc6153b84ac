#pragma once

// The host's side of the work window, in which the tools of scripts dock.
namespace work_window {

// Makes the one TavAppWorkWindow, tells the user interface of it, and puts it in the place of the
// plain work window. main_frames::Create() comes first.
void Create();
// Deletes the windows of its tools too. Before main_frames::Destroy().
void Destroy();

}  // namespace work_window
