#include "tavhost/service/sockets.h"

#include <windows.h>

namespace script::service {

bool PortsOutliveTheirSockets() { return false; }

void KeepFromChildren(std::uintptr_t socket) {
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

}  // namespace script::service
