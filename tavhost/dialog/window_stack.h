#pragma once

#include "host/sv/forward.h"

// The open dialogs, the innermost last: each is the parent of the next one that opens. What
// plug-ins call by Tav_PushParentWindow and its like, for the host's own use: it leaves no line in
// the trace.
namespace window_stack {

void Push(SV::Window* window);
void Pop(SV::Window* window);  // the innermost of that address; nothing when it is not there
SV::Window* Top();             // the work window when no dialog is open

// While it lives, the window is the parent of the dialogs that open.
class Scope {
 public:
  explicit Scope(SV::Window* window) : window_(window) { Push(window_); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() { Pop(window_); }

 private:
  SV::Window* window_;
};

}  // namespace window_stack
