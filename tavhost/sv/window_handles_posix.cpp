#include <cstdint>
#include <map>

#include "tavhost/sv/window_handles.h"

namespace window_handles {

namespace {

// Handles are never used twice, so that a stale one finds nothing.
struct Table {
  std::map<const SV::Window*, std::uintptr_t> handles;
  std::map<std::uintptr_t, SV::Window*> windows;
  std::uintptr_t last = 0;
};

Table& TheTable() {
  static Table& table = *new Table;
  return table;
}

}  // namespace

HWND Of(SV::Window& window) {
  Table& table = TheTable();
  std::uintptr_t& handle = table.handles[&window];
  if (handle == 0) {
    handle = ++table.last;
    table.windows[handle] = &window;
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
