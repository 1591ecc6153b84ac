#pragma once

namespace script::service {

// Whether the system keeps a port from being used again for a while after its socket closed, which
// the option to reuse addresses undoes. Elsewhere that option lets others take over a port in use.
bool PortsOutliveTheirSockets();

}  // namespace script::service
