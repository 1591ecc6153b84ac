#include "tavhost/service/session.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/beast/core/buffers_prefix.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/http/status.hpp>
#include <list>
#include <new>
#include <utility>
#include <variant>

#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/report.h"
#include "tavhost/service/json.h"
#include "tavhost/service/sockets.h"
#include "tavhost/service/spare_memory.h"

namespace script::service {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr auto kHeaderTime = std::chrono::seconds(10);
// A new client has the time to say something before it gives way to others.
constexpr auto kTimeToSpeak = std::chrono::milliseconds(200);
constexpr auto kRequestTime = std::chrono::seconds(30);
// How long a client may keep a connection on which nothing goes on.
constexpr auto kIdleTime = std::chrono::seconds(60);
// How long a client that takes nothing of its reply is waited for.
constexpr auto kSendTime = std::chrono::seconds(30);
constexpr auto kLastSendTime = std::chrono::milliseconds(700);  // when the service ends
// As long as any question may be open; each has an end of its own.
constexpr auto kQuestionIdleTime = std::chrono::hours(1) + kIdleTime;
constexpr auto kLingerTime = std::chrono::milliseconds(1000);
constexpr auto kLastLingerTime = std::chrono::milliseconds(300);  // when the service ends
// Between two looks whether a client that has sent its last byte is still there. The second look
// sees what became of the first.
constexpr auto kFirstProbe = std::chrono::milliseconds(50);
constexpr auto kSecondProbe = std::chrono::milliseconds(100);
constexpr auto kNextProbes = std::chrono::seconds(1);
// Likewise where the system's list tells and nothing has to be sent.
constexpr auto kNextLooks = std::chrono::milliseconds(200);
// What is read ahead while a request is carried out.
constexpr std::size_t kReadAhead = 64 * 1024;

constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

}  // namespace

Session::Session(ServerState& state, Socket socket, std::string client)
    : state_(state), socket_(std::move(socket)), client_(std::move(client)) {
  boost::system::error_code ignored;
  socket_.non_blocking(true, ignored);
  mostAtOnce_ = MostAtOnce(static_cast<std::uintptr_t>(socket_.native_handle()));
  place_ = state_.sessions.insert(state_.sessions.end(), this);
}

Session::~Session() {
  Close();
  DropReply();
  state_.sessions.erase(place_);
  state_.HasRoom();
}

void Session::Start() {
  deadline_ = Clock::now() + kHeaderTime;
  ReadMore();
}

Session::Worth Session::GetWorth(Clock::time_point now) const {
  if (accepted_) return Worth::kKept;
  if (refused_) return Worth::kRefused;
  if (now - start_ < kTimeToSpeak) return Worth::kKept;
  return reader_.HasBegun() ? Worth::kSlow : Worth::kSilent;
}

bool Session::HasUnread() const {
  boost::system::error_code error;
  return socket_.available(error) > 0;
}

void Session::End() {
  ending_ = true;
  if (writing_) deadline_ = std::min(deadline_, Clock::now() + SendTime());
  if (!job_ && !writing_) Close();
}

void Session::Abort() {
  if (open_ && writing_) CutOff();
}

Session::Clock::duration Session::SendTime() const { return ending_ ? kLastSendTime : kSendTime; }

void Session::Close() {
  if (!open_) return;
  open_ = false;
  boost::system::error_code ignored;
  socket_.shutdown(Socket::shutdown_both, ignored);
  socket_.close(ignored);
  if (!asked_.empty()) state_.options.queue->LeaveQuestion(asked_);
}

void Session::Tick(Clock::time_point now) {
  if (!open_) return;
  if (writing_) LookForProgress(now);
  if (!job_) {
    if (now < deadline_) return;
    if (writing_) return CutOff();
    return Close();
  }
  if (hasEnded_ || !reading_) LookForClient(now);
}

void Session::ReadMore() {
  const bool isFull = reader_.PendingBytes() >= kReadAhead && (job_ || writing_);
  if (!open_ || reading_ || hasEnded_ || isFull) return;
  reading_ = true;
  socket_.async_read_some(net::buffer(incoming_),
                          [self = shared_from_this()](const auto& error, std::size_t count) {
                            self->Attempt([&] { self->OnRead(error, count); });
                          });
}

// Want of memory ends the connection that it befalls: neither waits for the other any more.
template <typename Act>
void Session::Attempt(const Act& act) {
  try {
    act();
  } catch (const std::bad_alloc&) {
    report::Line("script service: out of memory");
    OnLost();
  }
}

void Session::OnRead(const boost::system::error_code& error, std::size_t count) {
  reading_ = false;
  if (!open_) return;
  if (error && error != net::error::eof) return OnLost();
  if (error) {
    hasEnded_ = true;
    nextProbe_ = Clock::now() + kFirstProbe;
  } else if (!lingering_) {
    reader_.Add({incoming_.data(), count});
  }
  Work();
  ReadMore();
}

void Session::OnLost() {
  if (job_) {
    state_.options.queue->Abandon(*job_);
    if (open_) Log(0);  // its reply will find nobody
  }
  Close();
}

void Session::Work() {
  while (!IsBusy()) {
    switch (reader_.Read()) {
      case RequestReader::Progress::kNeedsMore:
        if (hasEnded_) return Close();
        if (reader_.HasBegun() && begin_ == Clock::time_point()) {
          begin_ = Clock::now();
          deadline_ = begin_ + kHeaderTime;
        }
        return ReadMore();
      case RequestReader::Progress::kHasHeader:
        OnHeader();
        break;
      case RequestReader::Progress::kIsComplete:
        OnRequest();
        break;
      case RequestReader::Progress::kHeaderTooLong:
        Refuse({431, "the header is too long"});
        break;
      case RequestReader::Progress::kBodyTooLong: {
        // One who may not send requests at all is told that instead.
        const auto look = state_.check->Look(reader_.Get());
        const auto* const refusal = std::get_if<Refusal>(&look);
        Refuse(refusal ? *refusal : Refusal{413, "the request is longer than 8 MiB"});
        break;
      }
      case RequestReader::Progress::kMalformed:
        Refuse({400, "the request is malformed"});
        break;
    }
  }
  if (lingering_ && hasEnded_) Close();
}

void Session::OnHeader() {
  begin_ = Clock::now();
  deadline_ = begin_ + kRequestTime;
  auto look = state_.check->Look(reader_.Get());
  if (const auto* const refusal = std::get_if<Refusal>(&look)) return Refuse(*refusal);
  order_ = std::get<Order>(std::move(look));
  accepted_ = true;
  const bool waits = beast::iequals(reader_.Get()[http::field::expect], "100-continue");
  if (!waits || IsHttp10() || reader_.PendingBytes() > 0) return;
  // So little always fits in where nothing is being sent.
  boost::system::error_code ignored;
  socket_.write_some(net::buffer(kContinue), ignored);
}

void Session::OnRequest() {
  id_ = std::to_string(++state_.lastRequest);
  std::string body = std::move(reader_.Get().body());
  bodyBytes_ = body.size();
  switch (order_.kind) {
    case Order::Kind::kStatus:
      return Answer({200, state_.options.queue->StatusJson()}, true);
    case Order::Kind::kCancel:
      while (!body.empty() && (body.back() == '\n' || body.back() == '\r')) body.pop_back();
      if (!state_.options.queue->Cancel(body)) {
        return Refuse({404, "there is no such request"}, true);
      }
      return Answer({200, DoneJson()}, true);
    default:
      break;
  }
  const auto job = std::make_shared<Job>();
  job->id = id_;
  job->text = std::move(body);
  job->order = std::move(order_);
  job->arrival = begin_;
  // The session is handed on, not shared, when the reply comes: it must be destroyed on the
  // server's thread, never on the one that replies.
  std::list<ReadyReply> way;
  way.push_back({shared_from_this(), {}});
  job->reply = [&state = state_, way = std::move(way)](Reply reply) mutable {
    way.front().reply = std::move(reply);
    state.SendLater(way);
  };
  nextProbe_ = Clock::now() + kFirstProbe;
  hasProbed_ = false;
  isMissing_ = false;
  HandOn(job);
}

// Answers are for the script that runs: they pass by the requests that wait.
void Session::HandOn(const std::shared_ptr<Job>& job) {
  if (job->order.kind == Order::Kind::kAnswer) {
    if (auto refusal = state_.options.queue->Answer(job)) {
      return Answer(std::move(*refusal), true);
    }
  } else if (state_.stopping || !state_.options.queue->Add(job)) {
    return Refuse({503, "too many requests wait"}, true);
  }
  job_ = job;
}

void Session::OnReply(Reply reply) {
  Attempt([&] {
    const memory_reserve::Use reserve;
    job_.reset();
    Answer(std::move(reply), true);
    Work();
    ReadMore();
  });
}

// To a client on another machine that speaks HTTP/1.0 nothing can be sent before its reply: that it
// has left shows only when the system finds it out.
void Session::LookForClient(Clock::time_point now) {
  const auto handle = static_cast<std::uintptr_t>(socket_.native_handle());
  if (HasFailed(handle)) return OnLost();
  if (now < nextProbe_) return;
  const OtherEnds::Holder holder = state_.otherEnds.Look(handle).holder;
  if (holder == OtherEnds::Holder::kNotNow) return;
  if (holder != OtherEnds::Holder::kUnknown) {
    // A list that changes while it is read may lack a line, but hardly twice.
    const bool isMissing = holder == OtherEnds::Holder::kNotListed;
    const bool wasMissing = std::exchange(isMissing_, isMissing);
    nextProbe_ = now + kNextLooks;
    if (holder == OtherEnds::Holder::kNobody || (isMissing && wasMissing)) OnLost();
    return;
  }
  if (IsHttp10()) return;
  nextProbe_ = now + (std::exchange(hasProbed_, true) ? kNextProbes : kSecondProbe);
  boost::system::error_code error;
  socket_.write_some(net::buffer(kContinue), error);
  if (error && error != net::error::would_block) OnLost();
}

void Session::Refuse(const Refusal& refusal, bool keep) {
  refused_ = true;
  Answer({refusal.status, ErrorJson(refusal.text)}, keep);
}

// The system takes far more of a reply than its client has read, and takes no more for a long time
// where that reads slowly: what has arrived there counts. Of one that reads very slowly nothing
// arrives for a long time either, but on this machine shows how much less waits for it. What is
// added meanwhile hides none of that: it could be added because the client has taken something.
void Session::LookForProgress(Clock::time_point now) {
  const auto handle = static_cast<std::uintptr_t>(socket_.native_handle());
  const auto left = UnreadBytes(handle);
  if (!left) return;
  bool hasTaken = *left < std::exchange(left_, *left);
  if (!hasTaken && now >= nextProbe_) {
    const OtherEnds::End end = state_.otherEnds.Look(handle);
    if (end.holder == OtherEnds::Holder::kNotNow) return;
    nextProbe_ = now + kNextProbes;
    if (end.holder == OtherEnds::Holder::kSomebody) {
      hasTaken = end.unread < std::exchange(unread_, end.unread);
    }
  }
  if (hasTaken) deadline_ = now + SendTime();
}

void Session::CutOff() {
  LogEntry::Cut cut;
  cut.length = head_.size() + body_.size();
  const auto left = UnreadBytes(static_cast<std::uintptr_t>(socket_.native_handle())).value_or(0);
  cut.at = written_ - std::min(written_, left);
  Log(status_, cut);
  Close();
}

void Session::Answer(Reply reply, bool keep) {
  if (!open_) return;
  if (id_.empty()) id_ = std::to_string(++state_.lastRequest);
  status_ = reply.status;
  Log(status_);
  keeps_ = keep && !ending_ && reader_.Get().keep_alive();
  body_ = reply.json.empty() ? ErrorJson(kErrorNoMemory) : std::move(reply.json);
  BuildHead(reply.status, keeps_, body_.size(), reply.request.empty() ? id_ : reply.request);
  if (reader_.Get().method() == http::verb::head) body_.clear();
  // One who has said that the connection ends here comes back with the answer on another.
  if (!reply.question.empty() && (reply.takesOver || reply.question == asked_)) {
    asked_ = keeps_ && !hasEnded_ ? reply.question : std::string();
  }
  written_ = 0;
  left_ = 0;
  unread_ = 0;
  writing_ = true;
  nextProbe_ = Clock::now() + kNextProbes;
  deadline_ = Clock::now() + SendTime();
  WriteMore();
}

void Session::BuildHead(unsigned status, bool keep, std::size_t length, const std::string& id) {
  const auto reason = http::obsolete_reason(static_cast<http::status>(status));
  head_ = "HTTP/1.1 " + std::to_string(status) + ' ';
  head_.append(reason.data(), reason.size());
  head_ += "\r\nContent-Type: application/json\r\nCache-Control: no-store\r\nContent-Length: " +
           std::to_string(length) + "\r\nX-Tavhost-Request: " + id + "\r\n";
  if (status == 405) {
    head_ += reader_.Get().target() == "/status" ? "Allow: GET\r\n" : "Allow: POST\r\n";
  }
  if (status == 401) head_ += "WWW-Authenticate: X-Tavhost-Token realm=\"tavhost\"\r\n";
  if (!keep) {
    head_ += "Connection: close\r\n";
  } else if (IsHttp10()) {
    head_ += "Connection: keep-alive\r\n";
  }
  head_ += "\r\n";
}

// As much as the system takes at once; what is left, when it takes more.
void Session::WriteMore() {
  while (true) {
    const std::size_t fromHead = std::min(written_, head_.size());
    const std::array<net::const_buffer, 2> rest{net::buffer(head_) + fromHead,
                                                net::buffer(body_) + (written_ - fromHead)};
    if (net::buffer_size(rest) == 0) return OnWritten();
    boost::system::error_code error;
    written_ += socket_.write_some(beast::buffers_prefix(mostAtOnce_, rest), error);
    if (error == net::error::would_block) break;
    if (error) return OnLost();
    deadline_ = Clock::now() + SendTime();
  }
  socket_.async_wait(Socket::wait_write, [self = shared_from_this()](const auto& error) {
    if (error || !self->open_) return self->Close();
    self->Attempt([&self] {
      self->WriteMore();
      self->Work();
      self->ReadMore();
    });
  });
}

void Session::OnWritten() {
  writing_ = false;
  head_.clear();
  DropReply();
  id_.clear();
  bodyBytes_ = 0;
  if (!keeps_ || ending_) return Linger();
  begin_ = {};
  deadline_ = Clock::now() + (asked_.empty() ? kIdleTime : kQuestionIdleTime);
  reader_.Begin();
}

void Session::DropReply() {
  constexpr std::size_t kLarge = std::size_t{1} << 20;
  const bool isLarge = body_.capacity() >= kLarge;
  body_ = {};
  if (isLarge) GiveBackMemory();
}

// Closing with unread bytes would make the system throw the reply away: read on for a moment.
void Session::Linger() {
  if (hasEnded_) return Close();
  boost::system::error_code ignored;
  socket_.shutdown(Socket::shutdown_send, ignored);
  lingering_ = true;
  deadline_ = Clock::now() + (ending_ ? kLastLingerTime : kLingerTime);
}

void Session::Log(unsigned status, const std::optional<LogEntry::Cut>& cut) {
  if (!state_.options.log) return;
  const auto& request = reader_.Get();
  LogEntry entry;
  entry.client = client_;
  entry.method = std::string(request.method_string());
  entry.target = std::string(request.target());
  entry.agent = std::string(request[http::field::user_agent]);
  entry.status = status;
  entry.cut = cut;
  entry.bytes = bodyBytes_;
  if (begin_ != Clock::time_point()) {
    entry.time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin_);
  }
  state_.options.log(entry);
}

}  // namespace script::service
