#include "tavhost/service/sockets.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <tl/expected.hpp>

#include "tavhost/base/file_text.h"

namespace script::service {

namespace {

void AppendHex(std::string& text, int width, unsigned long number) {
  char digits[20];
  std::snprintf(digits, sizeof digits, "%0*lX", width, number);
  text += digits;
}

// One end of a connection as the system's list has it: the words of the address as numbers of this
// machine, then the port. Empty for what is not in the list.
std::string ListedName(int (*name)(int, sockaddr*, socklen_t*), int socket) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  if (name(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) return {};
  std::string listed;
  std::uint32_t words[4] = {};
  std::uint16_t port = 0;
  if (address.ss_family == AF_INET) {
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
    std::memcpy(words, &v4.sin_addr, sizeof v4.sin_addr);
    port = v4.sin_port;
    AppendHex(listed, 8, words[0]);
  } else if (address.ss_family == AF_INET6) {
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
    std::memcpy(words, &v6.sin6_addr, sizeof v6.sin6_addr);
    port = v6.sin6_port;
    for (const std::uint32_t word : words) AppendHex(listed, 8, word);
  } else {
    return {};
  }
  listed += ':';
  AppendHex(listed, 4, ntohs(port));
  return listed;
}

bool IsLoopback(const std::string& listed) {
  const in6_addr address = in6addr_loopback;
  std::uint32_t words[4];
  std::memcpy(words, &address, sizeof words);
  std::string v6;
  for (const std::uint32_t word : words) AppendHex(v6, 8, word);
  std::string v4;
  AppendHex(v4, 8, htonl(INADDR_LOOPBACK));
  return listed.starts_with(v4 + ':') || listed.starts_with(v6 + ':');
}

}  // namespace

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

// The system lists its connections with their ends: an end without an inode belongs to no program.
std::optional<bool> HasNobody(std::uintptr_t socket) {
  const std::string own = ListedName(getsockname, static_cast<int>(socket));
  const std::string other = ListedName(getpeername, static_cast<int>(socket));
  if (own.empty() || other.empty()) return std::nullopt;
  const bool isLocal =
      IsLoopback(other) || own.substr(0, own.find(':')) == other.substr(0, other.find(':'));
  if (!isLocal) return std::nullopt;
  const bool isV4 = other.find(':') == 2 * sizeof(in_addr);
  const base::Result<std::string> text =
      base::ReadFileText(isV4 ? "/proc/net/tcp" : "/proc/net/tcp6");
  if (!text) return std::nullopt;
  std::istringstream list(*text);
  std::string line;
  if (!std::getline(list, line)) return std::nullopt;
  while (std::getline(list, line)) {
    std::istringstream fields(line);
    std::string number, local, remote, rest, inode;
    fields >> number >> local >> remote;
    if (local != other || remote != own) continue;
    for (int skipped = 0; skipped < 6; ++skipped) fields >> rest;
    fields >> inode;
    return inode == "0";
  }
  return true;
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
