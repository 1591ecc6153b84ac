#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tavhost/base/result.h"
#include "tavhost/service/log.h"
#include "tavhost/service/queue.h"

namespace script::service {

struct ServerState;

// Where the service listens when the host names no address.
inline constexpr const char* kUsualAddress = "127.0.0.1";

struct ServerOptions {
  std::uint16_t port = 0;  // 0: any free one
  int backlog = 100;
  std::string token;
  std::vector<std::string> addresses;  // the machine must have each
  std::string optionalAddress;         // passed over where the machine does not have it
  bool listensOnPort = true;
  std::string socket;          // a path in the file system to listen on too; empty: none
  std::vector<int> inherited;  // sockets that listen already, from whoever started the program
  Queue* queue = nullptr;      // outlives the server
  std::function<void(const LogEntry&)> log;  // called on the server's thread; empty: no log
};

// The sockets of the script service, on a thread of their own. Requests that pass all checks go
// to the queue, everything else is answered here.
class Server {
 public:
  // Fails, with the reason, when the port cannot be had at one of the addresses.
  static base::Result<std::unique_ptr<Server>> Start(ServerOptions options);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server();  // waits for its thread

  std::uint16_t Port() const;
  // Listens no more when it returns. Replies under way are still sent, then connections close.
  void Stop();
  bool HasEnded() const;  // after Stop: all connections are closed
  // Closes whatever is still open, replies under way included.
  void Abort();

 private:
  explicit Server(std::unique_ptr<ServerState> state);

  std::unique_ptr<ServerState> state_;
};

}  // namespace script::service
