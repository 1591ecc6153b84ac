#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/service/log.h"
#include "tavhost/service/queue.h"
#include "tavhost/service/request_reader.h"
#include "tavhost/service/server_state.h"

namespace script::service {

// One connection: reads a request, has it checked and carried out, answers, and so on until one
// side ends it. All on the server's thread. Every operation under way and every request that waits
// holds the session, which is destroyed when none is left.
//
// It reads while a request is carried out too, so that it sees its client leave. A client that has
// sent its last byte may still read: whether it is there is found out by sending it what it has to
// pass over.
class Session : public std::enable_shared_from_this<Session> {
 public:
  using Clock = std::chrono::steady_clock;
  // How much it would hurt to close it, for another connection's sake.
  enum class Worth : std::uint8_t { kRefused, kSilent, kSlow, kKept };

  Session(ServerState& state, Socket socket, std::string client);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  void Start();
  // The reply to the request that is carried out.
  void OnReply(Reply reply);
  // Several times a second.
  void Tick(Clock::time_point now);
  Worth GetWorth(Clock::time_point now) const;
  // Something has come that it has not looked at yet. Asks the system.
  bool HasUnread() const;
  // The service ends: closes the connection at once, or after the reply that is under way.
  void End();
  // No reply has time to come to its end any more.
  void Abort();
  void Close();

 private:
  static constexpr std::size_t kPiece = 16 * 1024;

  template <typename Act>
  void Attempt(const Act& act);
  void ReadMore();
  void OnRead(const boost::system::error_code& error, std::size_t count);
  // What is there of requests, until one of them is carried out or nothing more can be done.
  void Work();
  bool IsBusy() const { return job_ || writing_ || lingering_ || !open_; }
  void OnLost();  // the connection is no more
  void OnHeader();
  void OnRequest();
  void HandOn(const std::shared_ptr<Job>& job);
  void LookForClient(Clock::time_point now);

  void Refuse(const Refusal& refusal, bool keep = false);
  void Answer(Reply reply, bool keep);
  void BuildHead(unsigned status, bool keep, std::size_t length, const std::string& id);
  void WriteMore();
  void OnWritten();
  void DropReply();
  void Linger();
  // Ends the connection in the middle of a reply, and says so in the log.
  void CutOff();
  // Lets a client that takes its reply go on; as long as it does, however slowly.
  void LookForProgress(Clock::time_point now);
  Clock::duration SendTime() const;
  void Log(unsigned status, const std::optional<LogEntry::Cut>& cut = {});
  bool IsHttp10() { return reader_.Get().version() < 11; }

  ServerState& state_;
  std::list<Session*>::iterator place_;  // in the list of all
  Socket socket_;
  const std::string client_;
  std::array<char, kPiece> incoming_;
  RequestReader reader_;
  Order order_;
  std::shared_ptr<Job> job_;  // while it is carried out
  std::string asked_;         // the id of the question that was sent last
  std::size_t mostAtOnce_;    // that the system is given of a reply
  std::string head_;          // of the reply, then its body
  std::string body_;
  std::size_t written_ = 0;  // of the two
  std::size_t left_ = 0;     // of these, on their way, at the last look
  std::size_t unread_ = 0;   // likewise: what has arrived and waits for the client there
  unsigned status_ = 0;      // of the reply
  std::string id_;           // of the request
  const Clock::time_point start_ = Clock::now();
  Clock::time_point begin_;  // of the request
  Clock::time_point deadline_;
  Clock::time_point nextProbe_;
  std::size_t bodyBytes_ = 0;  // of the request
  bool open_ = true;
  bool reading_ = false;
  bool hasEnded_ = false;  // the client has sent its last byte
  bool writing_ = false;
  bool keeps_ = false;  // the connection, behind the reply
  bool lingering_ = false;
  bool accepted_ = false;  // one of its requests, by its header
  bool refused_ = false;   // the last of them
  bool hasProbed_ = false;
  bool isMissing_ = false;  // its client, at the last look into the system's list
  bool ending_ = false;
};

}  // namespace script::service
