#pragma once

namespace script::service {

// Whether the option to reuse addresses is to be set. On POSIX systems it is: without it, a port
// cannot be used again for a while after its socket has closed. On Windows it must not be: there it
// lets another program take over a port that is in use.
bool PortsOutliveTheirSockets();

}  // namespace script::service
