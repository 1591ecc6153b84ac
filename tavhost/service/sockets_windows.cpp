#include "tavhost/service/sockets.h"

namespace script::service {

bool PortsOutliveTheirSockets() { return false; }

}  // namespace script::service
