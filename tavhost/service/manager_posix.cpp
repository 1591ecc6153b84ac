#include "tavhost/service/manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace script::service::manager {

namespace {

constexpr int kFirstDescriptor = 3;
constexpr int kMostDescriptors = 64;

// -1 for what is no number.
long NumberIn(const char* variable) {
  const char* const text = std::getenv(variable);
  if (!text) return -1;
  const char* const end = text + std::strlen(text);
  long number = -1;
  const auto [at, error] = std::from_chars(text, end, number);
  return error == std::errc() && at == end ? number : -1;
}

void Tell(std::string_view state) {
  const char* const path = std::getenv("NOTIFY_SOCKET");
  if (!path || (path[0] != '/' && path[0] != '@')) return;
  sockaddr_un address{};
  const std::size_t length = std::strlen(path);
  if (length >= sizeof address.sun_path) return;
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path, length);
  if (path[0] == '@') address.sun_path[0] = '\0';  // a name that is in no file system
  const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return;
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  sendto(descriptor, state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
         reinterpret_cast<const sockaddr*>(&address), size);
  close(descriptor);
}

}  // namespace

std::vector<int> TakeSockets() {
  std::vector<int> sockets;
  if (NumberIn("LISTEN_PID") == static_cast<long>(getpid())) {
    const long count = NumberIn("LISTEN_FDS");
    for (int i = 0; i < count && i < kMostDescriptors; ++i) {
      sockets.push_back(kFirstDescriptor + i);
    }
  }
  for (const char* const variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"}) {
    unsetenv(variable);  // they are not for programs that this one starts
  }
  return sockets;
}

void TellReady() { Tell("READY=1"); }
void TellStopping() { Tell("STOPPING=1"); }

}  // namespace script::service::manager
