#include "tavhost/service/sockets.h"

#include <fcntl.h>

namespace script::service {

bool PortsOutliveTheirSockets() { return true; }

void KeepFromChildren(std::uintptr_t socket) {
  fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC);
}

}  // namespace script::service
