#include <cstdint>
#include <map>

#include "tavhost/base/never_destroyed.h"
#include "tavhost/sv/window_handles.h"

namespace window_handles {

namespace {

// There is no system behind a handle here: it is a number. None is used twice, so that the handle
// of a window that has gone finds nothing.
struct Table {
  std::map<const SV::Window*, std::uintptr_t> handles;
  std::map<std::uintptr_t, SV::Window*> windows;
  std::uintptr_t last = 0;
};

// Never destroyed: windows that live until the end of the program still forget their handles.
Table& TheTable() {
  static base::NeverDestroyed<Table> table;
  return *table;
}

}  // namespace

HWND Of(SV::Window& window) {
  Table& table = TheTable();
  std::uintptr_t& handle = table.handles[&window];
  if (handle == 0) {
    table.windows[table.last + 1] = &window;
    handle = ++table.last;
  }
  return reinterpret_cast<HWND>(handle);
}

SV::Window* Find(HWND handle) {
  const auto found = TheTable().windows.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == TheTable().windows.end() ? nullptr : found->second;
}

void Forget(SV::Window& window) {
  const auto found = TheTable().handles.find(&window);
  if (found == TheTable().handles.end()) return;
  TheTable().windows.erase(found->second);
  TheTable().handles.erase(found);
}

}  // namespace window_handles
