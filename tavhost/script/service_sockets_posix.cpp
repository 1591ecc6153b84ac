#include "tavhost/script/service_sockets.h"

namespace script::service {

bool PortsOutliveTheirSockets() { return true; }

}  // namespace script::service
