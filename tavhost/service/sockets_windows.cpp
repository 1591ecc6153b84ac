#include "tavhost/service/sockets.h"

#include <winsock2.h>
// After <winsock2.h>, which it must not include itself.
#include <windows.h>

namespace script::service {

bool PortsOutliveTheirSockets() { return false; }

void KeepFromChildren(std::uintptr_t socket) {
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

void FindOutWhoIsGone(std::uintptr_t socket) {
  const BOOL on = TRUE;
  setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, reinterpret_cast<const char*>(&on), sizeof on);
}

bool HasFailed(std::uintptr_t) { return false; }

std::optional<std::size_t> UnreadBytes(std::uintptr_t) { return std::nullopt; }

std::size_t MostAtOnce(std::uintptr_t) { return static_cast<std::size_t>(-1); }

void OtherEnds::BeginSweep() {}

OtherEnds::End OtherEnds::Look(std::uintptr_t) { return {}; }

std::size_t AllowDescriptors(std::size_t count) { return count; }  // there is no such limit

}  // namespace script::service
