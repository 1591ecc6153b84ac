#include "tavhost/service/sockets.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>

namespace script::service {

bool PortsOutliveTheirSockets() { return true; }

void KeepFromChildren(std::uintptr_t socket) {
  fcntl(static_cast<int>(socket), F_SETFD, FD_CLOEXEC);
}

void FindOutWhoIsGone(std::uintptr_t socket) {
  const auto set = [socket](int level, int option, int value) {
    setsockopt(static_cast<int>(socket), level, option, &value, sizeof value);
  };
  set(SOL_SOCKET, SO_KEEPALIVE, 1);
  set(IPPROTO_TCP, TCP_KEEPIDLE, 10);  // seconds, as is the next
  set(IPPROTO_TCP, TCP_KEEPINTVL, 5);
  set(IPPROTO_TCP, TCP_KEEPCNT, 3);
}

bool HasFailed(std::uintptr_t socket) {
  pollfd look{static_cast<int>(socket), 0, 0};
  return poll(&look, 1, 0) == 1 && (look.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
}

std::size_t AllowDescriptors(std::size_t count) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return count;
  if (limit.rlim_cur < count && limit.rlim_cur < limit.rlim_max) {
    limit.rlim_cur = std::min<rlim_t>(count, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
  }
  return std::min<rlim_t>(count, limit.rlim_cur);
}

}  // namespace script::service
