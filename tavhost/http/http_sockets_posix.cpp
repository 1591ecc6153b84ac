#include "tavhost/http/http_sockets_posix.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

namespace http::sockets {

namespace {

std::vector<pollfd>& All() {
  static std::vector<pollfd> all;
  return all;
}

// What has come is thrown away, and nothing more can come: for whoever looks at it the connection
// is one that its peer has closed.
void End(int socket) {
  constexpr int kMostPieces = 1024;  // of a server that goes on and on
  std::array<char, 16384> piece;
  shutdown(socket, SHUT_RDWR);
  for (int i = 0; i < kMostPieces; ++i) {
    if (recv(socket, piece.data(), piece.size(), MSG_DONTWAIT) <= 0) return;
  }
}

}  // namespace

int Open(int family, int type, int protocol) {
  const int made = socket(family, type | SOCK_CLOEXEC, protocol);
  if (made >= 0) All().push_back({made, POLLIN, 0});
  return made;
}

int Close(int socket) {
  std::vector<pollfd>& all = All();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [socket](const pollfd& each) { return each.fd == socket; });
  if (found != all.end()) all.erase(found);
  return close(socket);
}

void EndTalkative() {
  std::vector<pollfd>& all = All();
  if (all.empty() || poll(all.data(), all.size(), 0) <= 0) return;
  for (const pollfd& each : all) {
    if (each.revents != 0) End(each.fd);
  }
}

}  // namespace http::sockets
