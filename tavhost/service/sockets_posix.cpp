#include "tavhost/service/sockets.h"

namespace script::service {

bool PortsOutliveTheirSockets() { return true; }

}  // namespace script::service
