#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace script::service {

// Whether the option to reuse addresses is to be set. On POSIX systems it is: without it, a port
// cannot be used again for a while after its socket has closed. On Windows it must not be: there it
// lets another program take over a port that is in use.
bool PortsOutliveTheirSockets();

// Programs that this one starts do not get the socket: they would hold its port, or its client.
void KeepFromChildren(std::uintptr_t socket);

// Has the system find out when the other side of a connection is gone without a word.
void FindOutWhoIsGone(std::uintptr_t socket);
// Whether the system knows that nothing sent on the connection arrives any more. Where it does not
// tell, the next attempt to send will.
bool HasFailed(std::uintptr_t socket);

// Whether nobody holds the other end of a connection any more. Nothing where the system does not
// know it: the other end is on another machine.
std::optional<bool> HasNobody(std::uintptr_t socket);

// Lets the program have so many descriptors, if it may; returns how many it can have.
std::size_t AllowDescriptors(std::size_t count);

}  // namespace script::service
