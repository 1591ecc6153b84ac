#pragma once

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tavhost/service/request_check.h"
#include "tavhost/service/seldom.h"
#include "tavhost/service/server.h"
#include "tavhost/service/sockets.h"

// What the parts of the server share. All on the server's thread but for SendLater.
namespace script::service {

using Socket = boost::asio::generic::stream_protocol::socket;

class Listener;
class Session;

// Where connections come in.
class Listener : public std::enable_shared_from_this<Listener> {
 public:
  virtual ~Listener() = default;

  virtual void Accept() = 0;
  virtual void Close() = 0;
  virtual std::uint16_t Port() const { return 0; }
};

struct ServerState {
  ServerOptions options;
  std::optional<RequestCheck> check;
  std::list<Session*> sessions;     // in the order in which they connected
  std::vector<Listener*> paused;    // these accept again once there is room
  std::size_t connectionLimit = 0;  // how many of them there may be
  std::uint64_t lastRequest = 0;    // its id
  std::uint16_t port = 0;           // 0: none
  bool stopping = false;
  Seldom refusals;      // the system gives no more connections
  OtherEnds otherEnds;  // of the connections whose clients have sent their last byte
  std::atomic<bool> ended{false};

  // Ends before what is above: sessions leave the list when it does. What is below uses it.
  boost::asio::io_context context{1};
  std::vector<std::shared_ptr<Listener>> listeners;
  // One timer looks after all that has an end in time, as long as there is any of it.
  boost::asio::steady_timer pulse{context};
  bool beats = false;
  // Replies on their way from the user-interface thread. The first one wakes the server's thread
  // up, which then sends all that are there.
  std::mutex repliesMutex;
  std::vector<std::function<void()>> replies;
  std::thread thread;

  void SendLater(std::function<void()> send);
  // A new connection, of a client with this name in the log.
  void Begin(Socket socket, std::string client);
  // Closes a connection of one who has not sent a request that was accepted; false when there is
  // none.
  bool MakeRoom();
  bool IsFull() const { return sessions.size() >= connectionLimit; }
  // Called by a session that ends.
  void HasRoom();
  void CloseListeners();
  void Beat();

  // Adds listeners, or fails with the reason why not.
  base::Result<void> ListenOnPorts();
  base::Result<void> ListenAt(const std::string& address, bool isOptional);
};

// Listens on a path in the file system, which only the owner of the program may use.
base::Result<std::shared_ptr<Listener>> ListenOnPath(ServerState& state, const std::string& path);
// Listens on a socket that whoever started the program has opened.
base::Result<std::shared_ptr<Listener>> ListenOnInherited(ServerState& state, int descriptor);

}  // namespace script::service
