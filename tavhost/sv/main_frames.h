#pragma once

#include <string>

#include "host/sv/forward.h"

// The two windows that are there from start to end: the main window, titled `tavhost`, and the
// work window, which is the parent of a dialog that opens while no other dialog is open.
namespace main_frames {

// Makes both and tells the application of the main window and of its font, which is that of the
// toolkit in use. After trace::Open, so that the trace knows the windows' names.
void Create();
// Before the toolkit goes.
void Destroy();

SV::Window* App();  // null when there is none
// Of the main window, where a user interface has one with another title than `tavhost`.
void SetTitle(const std::string& title);
SV::Window* Work();  // null when there is none
// Puts another window in the work window's place; the caller keeps it. Null puts back the first.
void SetWork(SV::Window* window);

}  // namespace main_frames
