#pragma once

#include <cstdint>

namespace script::service {

// Whether the option to reuse addresses is to be set. On POSIX systems it is: without it, a port
// cannot be used again for a while after its socket has closed. On Windows it must not be: there it
// lets another program take over a port that is in use.
bool PortsOutliveTheirSockets();

// Programs that this one starts do not get the socket: they would hold its port, or its client.
void KeepFromChildren(std::uintptr_t socket);

}  // namespace script::service
