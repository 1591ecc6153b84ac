#include "host/dialog/top_window.h"

#include <algorithm>
#include <vector>

#include "tavhost/base/never_destroyed.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/sv/main_frames.h"

namespace window_stack {

namespace {

std::vector<SV::Window*>& Windows() {
  static base::NeverDestroyed<std::vector<SV::Window*>> windows;
  return *windows;
}

}  // namespace

void Push(SV::Window* window) { Windows().push_back(window); }

void Pop(SV::Window* window) {
  const auto last = std::find(Windows().rbegin(), Windows().rend(), window);
  if (last != Windows().rend()) Windows().erase(std::next(last).base());
}

SV::Window* Top() { return Windows().empty() ? main_frames::Work() : Windows().back(); }

}  // namespace window_stack

SV::Window* Tav_GetTopWindow(unsigned long which) {
  trace::Call call("Tav_GetTopWindow", which);
  return call.ResultObject(window_stack::Top());
}

void Tav_PushParentWindow(SV::Window* window) {
  trace::Call call(trace::kEvenNested, "Tav_PushParentWindow", trace::Window(window));
  call.Write();
  window_stack::Push(window);
}

void Tav_PopParentWindow(SV::Window* window) {
  trace::Call call(trace::kEvenNested, "Tav_PopParentWindow", trace::Window(window));
  call.Write();
  window_stack::Pop(window);
}
