#include <tl/expected.hpp>

#include "tavhost/service/server_state.h"

namespace script::service {

base::Result<std::shared_ptr<Listener>> ListenOnPath(ServerState&, const std::string&) {
  return base::Failure("sockets in the file system are not for this system");
}

base::Result<std::shared_ptr<Listener>> ListenOnInherited(ServerState&, int) {
  return base::Failure("sockets are not inherited on this system");
}

}  // namespace script::service
