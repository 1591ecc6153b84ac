#pragma once

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <condition_variable>
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
  // Accepts again, if there is room, unless it does.
  virtual void Resume() = 0;
  virtual void Close() = 0;
  virtual std::uint16_t Port() const { return 0; }
};

// A reply on its way back to its connection.
struct ReadyReply {
  std::shared_ptr<Session> session;
  Reply reply;
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
  // Something has to go on that has come to a stand: see Resume.
  bool mustResume = false;
  Seldom refusals;      // the system gives no more connections
  OtherEnds otherEnds;  // of the connections whose clients have sent their last byte
  std::atomic<bool> ended{false};

  // Ends before what is above: sessions leave the list when it does. What is below uses it.
  boost::asio::io_context context{1};
  std::vector<std::shared_ptr<Listener>> listeners;
  // One timer looks after all that has an end in time, as long as there is any of it.
  boost::asio::steady_timer pulse{context};
  bool beats = false;
  // What other threads ask of the server's thread, which Wake has look. None of that takes memory.
  std::mutex callsMutex;  // of `replies` and `hasStopped`
  std::list<ReadyReply> replies;
  std::atomic<bool> mustStop{false};
  bool hasStopped = false;
  std::condition_variable stopped;  // waiting for an atomic can miss its change where futexes lack
  std::atomic<bool> mustAbort{false};
  std::thread thread;

  // On the server's thread: all that it does.
  void Run();
  // From any thread: has the server's thread look at all that stands here.
  void Wake() noexcept;
  // From any thread: takes the one reply out of the list and sends it.
  void SendLater(std::list<ReadyReply>& one) noexcept;
  // A new connection, of a client with this name in the log.
  void Begin(Socket socket, std::string client);
  // Closes a connection of one who has not sent a request that was accepted; false when there is
  // none.
  bool MakeRoom();
  bool IsFull() const { return sessions.size() >= connectionLimit; }
  // Called by a session that ends.
  void HasRoom() noexcept;
  void CloseListeners();
  void Beat();
  // Lets listeners accept and the pulse beat where they do not: they waited for room, or there was
  // no memory to go on.
  void Resume();
  void TakeCalls();
  void SendReplies();
  // Each session, also when that ends some.
  template <typename Act>
  void ForEach(const Act& act);

  // Adds listeners, or fails with the reason why not.
  base::Result<void> ListenOnPorts();
  base::Result<void> ListenAt(const std::string& address, bool isOptional);
};

// Listens on a path in the file system, which only the owner of the program may use.
base::Result<std::shared_ptr<Listener>> ListenOnPath(ServerState& state, const std::string& path);
// Listens on a socket that whoever started the program has opened.
base::Result<std::shared_ptr<Listener>> ListenOnInherited(ServerState& state, int descriptor);

}  // namespace script::service
