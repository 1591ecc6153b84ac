#include "tavhost/service/sockets.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tavhost/base/file_text.h"

namespace script::service {

namespace {

void AppendHex(std::string& text, int width, unsigned long number) {
  char digits[20];
  std::snprintf(digits, sizeof digits, "%0*lX", width, number);
  text += digits;
}

// The list has addresses of the first kind in the form of the second where a socket is for both.
std::string_view WithoutMapping(std::string_view listed) {
  const std::uint32_t words[] = {0, 0, htonl(0xFFFF)};
  std::string mapped;
  for (const std::uint32_t word : words) AppendHex(mapped, 8, word);
  const bool isMapped = listed.find(':') > mapped.size() && listed.starts_with(mapped);
  return isMapped ? listed.substr(mapped.size()) : listed;
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
  return std::string(WithoutMapping(listed));
}

// Adds what one list has: an end without an inode belongs to no program. False when it cannot be
// read or is longer than is looked through.
bool ReadList(const char* path, std::unordered_map<std::string, OtherEnds::End>& ends) {
  constexpr int kMostLines = 20000;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> list(base::OpenForReading(path), std::fclose);
  char line[512];
  if (!list || !std::fgets(line, sizeof line, list.get())) return false;
  for (int lines = 0; std::fgets(line, sizeof line, list.get()); ++lines) {
    if (lines == kMostLines) return false;
    char local[64];
    char remote[64];
    unsigned long unread = 0;
    unsigned long inode = 0;
    constexpr char kFields[] = "%*s %63s %63s %*s %*[0-9A-F]:%lx %*s %*s %*s %*s %lu";
    if (std::sscanf(line, kFields, local, remote, &unread, &inode) != 4) continue;
    std::string name(WithoutMapping(local));
    (name += ' ') += WithoutMapping(remote);
    using Holder = OtherEnds::Holder;
    ends[std::move(name)] = {inode != 0 ? Holder::kSomebody : Holder::kNobody, unread};
  }
  return true;
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

// Of this thread: a script beside it that computes must not make the list rest longer.
std::chrono::nanoseconds ProcessorTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
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

std::optional<std::size_t> UnreadBytes(std::uintptr_t socket) {
  int bytes = 0;
  if (ioctl(static_cast<int>(socket), TIOCOUTQ, &bytes) != 0 || bytes < 0) return std::nullopt;
  return static_cast<std::size_t>(bytes);
}

std::size_t MostAtOnce(std::uintptr_t socket) {
  constexpr std::size_t kOnPath = 4096;
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  const bool isKnown =
      getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&address), &length) == 0;
  return isKnown && address.ss_family == AF_UNIX ? kOnPath : std::string::npos;
}

void OtherEnds::BeginSweep() {
  isRead_ = false;
  ends_.clear();
}

OtherEnds::End OtherEnds::Look(std::uintptr_t socket) {
  const std::string own = ListedName(getsockname, static_cast<int>(socket));
  const std::string other = ListedName(getpeername, static_cast<int>(socket));
  if (own.empty() || other.empty()) return {Holder::kUnknown};
  const bool isLocal =
      IsLoopback(other) || own.substr(0, own.find(':')) == other.substr(0, other.find(':'));
  if (!isLocal) return {Holder::kUnknown};
  if (!isRead_) {
    if (Clock::now() < rests_) return {Holder::kNotNow};
    Read();
  }
  if (!isKnown_) return {Holder::kUnknown};
  const auto found = ends_.find(other + ' ' + own);
  return found == ends_.end() ? End{Holder::kNotListed} : found->second;
}

// A client whose socket is for both kinds of addresses is in the second list, whichever it uses.
void OtherEnds::Read() {
  constexpr int kRest = 10;
  const auto begin = ProcessorTime();
  isRead_ = true;
  isKnown_ = ReadList("/proc/net/tcp", ends_);
  // Without the second kind of addresses there is no second list.
  if (isKnown_ && access("/proc/net/tcp6", F_OK) == 0) {
    isKnown_ = ReadList("/proc/net/tcp6", ends_);
  }
  rests_ = Clock::now() + kRest * (ProcessorTime() - begin);
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
