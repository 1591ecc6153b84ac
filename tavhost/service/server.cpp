#include "tavhost/service/server.h"

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <future>
#include <list>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <tl/expected.hpp>

#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/report.h"
#include "tavhost/service/address.h"
#include "tavhost/service/json.h"
#include "tavhost/service/sockets.h"
#include "tavhost/service/token.h"

namespace script::service {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Clock = std::chrono::steady_clock;

namespace {

// What a request may take. Generous for any client that means well; together with the number of
// connections they bound the memory and the time that others can make the program spend.
constexpr std::uint32_t kHeaderLimit = 16 * 1024;      // bytes
constexpr std::size_t kFieldLimit = 100;               // of the header
constexpr std::uint64_t kBodyLimit = 8 * 1024 * 1024;  // bytes
constexpr auto kHeaderTime = std::chrono::seconds(10);
constexpr auto kRequestTime = std::chrono::seconds(30);
constexpr auto kSendTime = std::chrono::seconds(30);
constexpr std::size_t kConnectionLimit = 64;
constexpr char kTokenField[] = "X-Tavhost-Token";
constexpr char kDialogsField[] = "X-Tavhost-Dialogs";
constexpr char kQuestionField[] = "X-Tavhost-Question";
// How long a question may stay unanswered: long enough for a user who reads, looks something up and
// decides; a client that has gone away must not keep the others waiting much longer.
constexpr auto kQuestionTime = std::chrono::seconds(300);
constexpr auto kLongestQuestionTime = std::chrono::seconds(3600);

constexpr char kNoMemory[] = "script service: out of memory";

// A response's status and the words that go with a refusal.
struct Refusal {
  http::status status;
  const char* text;
};

// From `ask` or `ask SECONDS`; empty for anything else.
std::optional<std::chrono::seconds> ReadQuestionTime(std::string_view field) {
  constexpr std::string_view kAsk = "ask";
  if (field == kAsk) return kQuestionTime;
  if (!field.starts_with(kAsk) || field[kAsk.size()] != ' ') return std::nullopt;
  const std::string_view digits = field.substr(kAsk.size() + 1);
  unsigned seconds = 0;
  const auto [at, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
  const std::chrono::seconds time(seconds);
  if (error != std::errc() || at != digits.data() + digits.size()) return std::nullopt;
  if (seconds < 1 || time > kLongestQuestionTime) return std::nullopt;
  return time;
}

}  // namespace

struct Server::State {
  ServerOptions options;
  net::io_context context{1};
  std::vector<std::shared_ptr<Listener>> listeners;
  std::list<std::weak_ptr<Session>> sessions;  // in the order in which they connected
  std::uint16_t port = 0;
  bool stopping = false;
  std::atomic<bool> ended{false};
  std::thread thread;

  // Replies on their way from the user-interface thread. The first one wakes the server's thread
  // up, which then sends all that are there.
  std::mutex repliesMutex;
  std::vector<std::function<void()>> replies;

  void SendLater(std::function<void()> send);
  boost::system::error_code Listen(const std::string& address);
};

void Server::State::SendLater(std::function<void()> send) {
  {
    const std::lock_guard lock(repliesMutex);
    replies.push_back(std::move(send));
    if (replies.size() > 1) return;
  }
  net::post(context, [this] {
    std::vector<std::function<void()>> ready;
    {
      const std::lock_guard lock(repliesMutex);
      ready.swap(replies);
    }
    const memory_reserve::Use reserve;
    for (const auto& one : ready) {
      try {
        one();
      } catch (const std::bad_alloc&) {
        report::Line(kNoMemory);  // the connection closes
      }
    }
  });
}

// One connection: reads a request, has it checked and carried out, answers, and so on until one
// side ends it. All on the server's thread. Every operation under way holds the session, which is
// destroyed when none is left.
class Server::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(State& state, tcp::socket socket)
      : state_(state), socket_(std::move(socket)), timer_(state.context) {
    boost::system::error_code ignored;
    socket_.set_option(tcp::no_delay(true), ignored);
    const auto remote = socket_.remote_endpoint(ignored);
    client_ = remote.address().to_string(ignored) + ':' + std::to_string(remote.port());
  }

  ~Session() { Leave(); }

  void Read() {
    parser_.emplace();
    parser_->header_limit(kHeaderLimit);
    parser_->body_limit(kBodyLimit);
    waitsForHeader_ = true;
    SetTimer(kHeaderTime);
    http::async_read_header(
        socket_, buffer_, *parser_,
        [self = shared_from_this()](auto error, std::size_t) { self->OnHeader(error); });
  }

  bool WaitsForHeader() const { return waitsForHeader_; }

  // The service ends: closes the connection at once, or after the reply that is under way.
  void End() {
    ending_ = true;
    if (!job_ && !writing_) Close();
  }

  void Close() {
    boost::system::error_code ignored;
    timer_.cancel(ignored);
    socket_.shutdown(tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
  }

 private:
  template <typename Duration>
  void SetTimer(Duration time) {
    timer_.expires_after(time);
    timer_.async_wait([self = weak_from_this()](boost::system::error_code error) {
      const auto session = self.lock();
      if (!error && session && session->timer_.expiry() <= Clock::now()) session->Close();
    });
  }

  void OnHeader(boost::system::error_code error) {
    waitsForHeader_ = false;
    begin_ = Clock::now();
    if (error == http::error::header_limit) {
      return Refuse({http::status::request_header_fields_too_large, "the header is too long"});
    }
    if (error == http::error::end_of_stream) return Close();
    if (error == http::error::body_limit) return RefuseLongBody();
    if (error && error.category() == http::make_error_code(http::error::bad_method).category()) {
      return Refuse({http::status::bad_request, "the request is malformed"});
    }
    if (error) return Close();
    SetTimer(kRequestTime);
    if (const auto refusal = Check(parser_->get())) return Refuse(*refusal);
    if (beast::iequals(parser_->get()[http::field::expect], "100-continue")) return Continue();
    ReadBody();
  }

  std::optional<Refusal> Check(const http::request<http::string_body>& request) const {
    const auto fields = static_cast<std::size_t>(std::distance(request.begin(), request.end()));
    if (fields > kFieldLimit) {
      return Refusal{http::status::request_header_fields_too_large, "the header is too long"};
    }
    // One length, told in one way, or a front end and this server could see different requests.
    const auto encodings = request.count(http::field::transfer_encoding);
    if (request.count(http::field::content_length) + encodings > 1 ||
        (encodings == 1 && !beast::iequals(request[http::field::transfer_encoding], "chunked"))) {
      return Refusal{http::status::bad_request, "the length of the body is ambiguous"};
    }
    if (request.count(http::field::host) != 1 || !IsOwnName(request[http::field::host])) {
      return Refusal{http::status::forbidden, "the request is meant for another host"};
    }
    if (request.count(http::field::origin) > 0 && !IsOwnOrigin(request[http::field::origin])) {
      return Refusal{http::status::forbidden, "web pages may not send requests"};
    }
    if (request.target() != "/script" && request.target() != "/command" &&
        request.target() != "/answer") {
      return Refusal{http::status::not_found, "there are /script, /command and /answer"};
    }
    if (request.method() != http::verb::post) {
      return Refusal{http::status::method_not_allowed, "requests are sent by POST"};
    }
    const auto token = request[kTokenField];
    if (request.count(kTokenField) != 1 ||
        !IsEqualInConstantTime({token.data(), token.size()}, state_.options.token)) {
      return Refusal{http::status::unauthorized, "the token is missing or wrong"};
    }
    return CheckDialogFields(request);
  }

  static std::optional<Refusal> CheckDialogFields(const http::request<http::string_body>& request) {
    if (request.target() == "/answer") {
      if (request.count(kQuestionField) == 1) return std::nullopt;
      return Refusal{http::status::bad_request, "the question's id is missing"};
    }
    const auto count = request.count(kDialogsField);
    const auto field = request[kDialogsField];
    if (count == 0 || (count == 1 && ReadQuestionTime({field.data(), field.size()}))) {
      return std::nullopt;
    }
    return Refusal{http::status::bad_request,
                   "X-Tavhost-Dialogs is ask, or ask and 1 to 3600 seconds"};
  }

  bool IsOwnName(beast::string_view host) const {
    const std::string port = ':' + std::to_string(state_.port);
    for (const std::string& name : OwnNames()) {
      if (beast::iequals(host, name) || beast::iequals(host, name + port)) return true;
    }
    return false;
  }

  bool IsOwnOrigin(beast::string_view origin) const {
    const std::string port = ':' + std::to_string(state_.port);
    for (const std::string& name : OwnNames()) {
      if (beast::iequals(origin, "http://" + name + port)) return true;
    }
    return false;
  }

  std::vector<std::string> OwnNames() const {
    std::vector<std::string> names{"localhost", "127.0.0.1", "[::1]"};
    for (const std::string& address : state_.options.addresses) names.push_back(UrlHost(address));
    return names;
  }

  void Continue() {
    static constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";
    net::async_write(socket_, net::buffer(kContinue, sizeof kContinue - 1),
                     [self = shared_from_this()](auto error, std::size_t) {
                       if (!error) self->ReadBody();
                     });
  }

  void ReadBody() {
    http::async_read(socket_, buffer_, *parser_,
                     [self = shared_from_this()](auto error, std::size_t) { self->OnBody(error); });
  }

  void OnBody(boost::system::error_code error) {
    if (error == http::error::body_limit) return RefuseLongBody();
    if (error && error.category() == http::make_error_code(http::error::bad_method).category() &&
        error != http::error::partial_message) {
      return Refuse({http::status::bad_request, "the request is malformed"});
    }
    if (error) return Close();
    auto& request = parser_->get();
    job_ = std::make_shared<Job>();
    job_->text = std::move(request.body());
    // The session is handed on, not shared, when the reply comes: it must be destroyed on the
    // server's thread, never on the one that replies.
    job_->reply = [self = shared_from_this()](Reply reply) mutable {
      State& state = self->state_;
      state.SendLater([self = std::move(self), reply = std::move(reply)]() mutable {
        self->Answer(static_cast<http::status>(reply.status), std::move(reply.json),
                     !self->ending_);
      });
    };
    boost::system::error_code ignored;
    timer_.cancel(ignored);  // scripts may take their time
    if (request.target() == "/answer") return HandAnswerOver();
    job_->kind = request.target() == "/script" ? Job::Kind::kScript : Job::Kind::kCommand;
    const auto dialogs = request[kDialogsField];
    job_->questionTime =
        ReadQuestionTime({dialogs.data(), dialogs.size()}).value_or(std::chrono::seconds(0));
    if (state_.stopping || !state_.options.queue->Add(job_)) {
      job_.reset();
      return Refuse({http::status::service_unavailable, "too many requests wait"}, true);
    }
    WatchClient();
  }

  // Answers are for the script that runs: they pass by the requests that wait.
  void HandAnswerOver() {
    job_->kind = Job::Kind::kAnswer;
    const auto question = parser_->get()[kQuestionField];
    job_->question.assign(question.data(), question.size());
    if (auto refusal = state_.options.queue->Answer(job_)) {
      return Answer(static_cast<http::status>(refusal->status), std::move(refusal->json), true);
    }
    WatchClient();
  }

  // While the request is carried out: a client that leaves stops it.
  void WatchClient() {
    if (buffer_.size() > 0) return;  // its next request is here already, so it has not left
    socket_.async_wait(tcp::socket::wait_read,
                       [self = shared_from_this(), job = std::weak_ptr<Job>(job_)](auto error) {
                         const auto watched = job.lock();
                         if (error || !watched || watched != self->job_) return;
                         if (self->HasClientLeft()) {
                           self->state_.options.queue->Abandon(*watched);
                         }
                       });
  }

  bool HasClientLeft() {
    char byte = 0;
    boost::system::error_code error;
    socket_.non_blocking(true, error);
    socket_.receive(net::buffer(&byte, 1), tcp::socket::message_peek, error);
    return error && error != net::error::would_block;
  }

  // One who may not send requests at all is told that, rather than that the body is too long.
  void RefuseLongBody() {
    Refuse(Check(parser_->get())
               .value_or(
                   Refusal{http::status::payload_too_large, "the request is longer than 8 MiB"}));
  }

  void Refuse(const Refusal& refusal, bool keep = false) {
    Answer(refusal.status, ErrorJson(refusal.text), keep);
  }

  void Answer(http::status status, std::string json, bool keep) {
    Log(status);
    job_.reset();
    writing_ = true;
    response_.emplace(status, 11);
    response_->set(http::field::content_type, "application/json");
    response_->set(http::field::cache_control, "no-store");
    if (status == http::status::method_not_allowed) response_->set(http::field::allow, "POST");
    response_->keep_alive(keep && parser_->get().keep_alive());
    response_->body() = std::move(json);
    response_->prepare_payload();
    SetTimer(kSendTime);
    http::async_write(socket_, *response_, [self = shared_from_this()](auto error, std::size_t) {
      self->OnWritten(error);
    });
  }

  void OnWritten(boost::system::error_code error) {
    writing_ = false;
    const bool keep = response_->keep_alive();
    response_.reset();
    if (error) return Close();
    if (!keep || ending_) return Linger();
    Read();
  }

  // Closing with unread bytes would make the system throw the reply away: read on for a moment.
  void Linger() {
    boost::system::error_code ignored;
    socket_.shutdown(tcp::socket::shutdown_send, ignored);
    SetTimer(std::chrono::seconds(1));
    Drain();
  }

  void Drain() {
    buffer_.clear();
    socket_.async_read_some(buffer_.prepare(64 * 1024),
                            [self = shared_from_this()](auto error, std::size_t) {
                              if (error) return self->Close();
                              self->Drain();
                            });
  }

  void Log(http::status status) const {
    const auto& request = parser_->get();
    LogEntry entry;
    entry.client = client_;
    entry.method = std::string(request.method_string());
    entry.target = std::string(request.target());
    entry.agent = std::string(request[http::field::user_agent]);
    entry.status = static_cast<unsigned>(status);
    entry.bytes = job_ ? job_->text.size() : 0;
    entry.time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin_);
    state_.options.log(entry);
  }

  void Leave() {
    std::erase_if(state_.sessions, [](const auto& session) { return session.expired(); });
  }

  State& state_;
  tcp::socket socket_;
  net::steady_timer timer_;
  std::string client_;
  beast::flat_buffer buffer_{64 * 1024 + kBodyLimit};
  std::optional<http::request_parser<http::string_body>> parser_;
  std::optional<http::response<http::string_body>> response_;
  std::shared_ptr<Job> job_;  // while it is carried out
  Clock::time_point begin_;
  bool waitsForHeader_ = false;
  bool writing_ = false;
  bool ending_ = false;
};

class Server::Listener : public std::enable_shared_from_this<Listener> {
 public:
  explicit Listener(State& state) : state_(state), acceptor_(state.context) {}

  // Throws boost::system::system_error when the address cannot be had.
  void Open(const std::string& address, std::uint16_t port) {
    const tcp::endpoint endpoint(net::ip::make_address(address), port);
    acceptor_.open(endpoint.protocol());
    if (endpoint.address().is_v6()) acceptor_.set_option(net::ip::v6_only(true));
    if (PortsOutliveTheirSockets()) acceptor_.set_option(net::socket_base::reuse_address(true));
    acceptor_.bind(endpoint);
    // The backlog is the length of the queue of requests. The system's queue of connections is
    // longer, or it would turn clients away that are to learn that the service is busy.
    acceptor_.listen(std::max(state_.options.backlog, static_cast<int>(kConnectionLimit)));
  }

  std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

  void Accept() {
    acceptor_.async_accept([self = shared_from_this()](auto error, tcp::socket socket) {
      if (error == net::error::operation_aborted) return;
      const memory_reserve::Use reserve;
      try {
        if (!error) self->Begin(std::move(socket));
      } catch (const std::bad_alloc&) {
        report::Line(kNoMemory);  // the connection closes
      }
      self->Accept();
    });
  }

  void Close() {
    boost::system::error_code ignored;
    acceptor_.close(ignored);
  }

 private:
  void Begin(tcp::socket socket) {
    if (state_.sessions.size() >= kConnectionLimit && !MakeRoom()) return;  // closes the socket
    const auto session = std::make_shared<Session>(state_, std::move(socket));
    state_.sessions.push_back(session);
    session->Read();
  }

  // The oldest connection that has not sent a request gives way, so that idle and slow clients
  // keep nobody out.
  bool MakeRoom() {
    for (const auto& weak : state_.sessions) {
      const auto session = weak.lock();
      if (session && session->WaitsForHeader()) {
        session->Close();
        return true;
      }
    }
    return false;
  }

  State& state_;
  tcp::acceptor acceptor_;
};

// Adds a listener. All have the same port: where any would do, the first one's choice counts.
boost::system::error_code Server::State::Listen(const std::string& address) {
  const auto listener = std::make_shared<Listener>(*this);
  try {
    listener->Open(address, port);
  } catch (const boost::system::system_error& failure) {
    return failure.code();
  }
  port = listener->Port();
  listeners.push_back(listener);
  return {};
}

namespace {

// Want of memory ends what a connection was about, not the service.
void RunToItsEnd(net::io_context& context) {
  while (true) {
    try {
      context.run();
      return;
    } catch (const std::bad_alloc&) {
      report::Line(kNoMemory);
    }
  }
}

}  // namespace

Server::Server(std::unique_ptr<State> state) : state_(std::move(state)) {}

base::Result<std::unique_ptr<Server>> Server::Start(ServerOptions options) {
  auto state = std::make_unique<State>();
  state->options = std::move(options);
  state->port = state->options.port;
  const std::vector<std::string>& addresses = state->options.addresses;
  for (const std::string& address : addresses) {
    const auto failure = state->Listen(address);
    if (!failure) continue;
    const bool isUsual = addresses.size() == 1 && address == kUsualAddress;
    return base::Failure((isUsual ? "" : address + ": ") + failure.message());
  }
  const std::string& optional = state->options.optionalAddress;
  if (!optional.empty()) state->Listen(optional);
  for (const auto& listener : state->listeners) listener->Accept();
  std::unique_ptr<Server> server(new Server(std::move(state)));
  try {
    server->state_->thread = std::thread([state = server->state_.get()] {
      RunToItsEnd(state->context);
      state->ended = true;
    });
  } catch (const std::system_error& failure) {
    return base::Failure(failure.code().message());
  }
  return server;
}

Server::~Server() {
  if (!state_->thread.joinable()) return;  // it could not be started
  Abort();
  state_->thread.join();
}

std::uint16_t Server::Port() const { return state_->port; }

void Server::Stop() {
  const memory_reserve::Use reserve;
  std::promise<void> closed;
  net::post(state_->context, [this, &closed] {
    state_->stopping = true;
    for (const auto& listener : state_->listeners) listener->Close();
    state_->listeners.clear();
    const auto sessions = state_->sessions;
    for (const auto& weak : sessions) {
      if (const auto session = weak.lock()) session->End();
    }
    closed.set_value();
  });
  if (!state_->ended) closed.get_future().wait();
}

bool Server::HasEnded() const { return state_->ended; }

void Server::Abort() {
  const memory_reserve::Use reserve;
  net::post(state_->context, [this] {
    for (const auto& listener : state_->listeners) listener->Close();
    const auto sessions = state_->sessions;
    for (const auto& weak : sessions) {
      if (const auto session = weak.lock()) session->Close();
    }
  });
}

}  // namespace script::service
