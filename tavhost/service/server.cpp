#include "tavhost/service/server.h"

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>

#include <algorithm>
#include <new>
#include <system_error>
#include <tl/expected.hpp>

#include "tavhost/service/address.h"
#include "tavhost/service/listener.h"
#include "tavhost/service/server_state.h"
#include "tavhost/service/session.h"

namespace script::service {

namespace net = boost::asio;
using tcp = net::ip::tcp;

namespace {

constexpr std::size_t kMostConnections = 1024;
// Descriptors that scripts need beside the connections.
constexpr std::size_t kOtherDescriptors = 64;
constexpr auto kBeat = std::chrono::milliseconds(100);
constexpr char kNoMemory[] = "script service: out of memory";

// A free port that is free at every address is found after a few tries.
constexpr int kTries = 20;

std::vector<std::string> OwnNames(const std::vector<std::string>& addresses) {
  std::vector<std::string> names{"localhost", "127.0.0.1", "[::1]"};
  for (const std::string& address : addresses) names.push_back(UrlHost(address));
  return names;
}

}  // namespace

// Want of memory ends what it befalls, not the service.
void ServerState::Run() {
  const auto work = net::make_work_guard(context);
  while (true) {
    try {
      context.restart();
      TakeCalls();
      if (mustAbort) ForEach([](Session& session) { session.Abort(); });
      if (mustAbort || (stopping && sessions.empty())) break;
      if (std::exchange(mustResume, false)) Resume();
      context.run();
    } catch (const std::bad_alloc&) {
      mustResume = true;
      report::Line(kNoMemory);
      std::this_thread::sleep_for(kBeat);  // others may give some back
    }
  }
  ended = true;
}

void ServerState::Wake() noexcept { context.stop(); }

void ServerState::SendLater(std::list<ReadyReply>& one) noexcept {
  {
    const std::lock_guard lock(callsMutex);
    replies.splice(replies.end(), one);
    if (replies.size() > 1) return;
  }
  Wake();
}

void ServerState::SendReplies() {
  std::list<ReadyReply> ready;
  {
    const std::lock_guard lock(callsMutex);
    ready.swap(replies);
  }
  for (ReadyReply& one : ready) one.session->OnReply(std::move(one.reply));
}

void ServerState::TakeCalls() {
  SendReplies();
  if (mustStop.exchange(false)) {
    stopping = true;
    CloseListeners();
    ForEach([](Session& session) { session.End(); });
    const std::lock_guard lock(callsMutex);
    hasStopped = true;
    stopped.notify_all();
  }
}

void ServerState::Resume() {
  paused.clear();
  for (const auto& listener : listeners) listener->Resume();
  if (!beats) Beat();
}

template <typename Act>
void ServerState::ForEach(const Act& act) {
  for (auto at = sessions.begin(); at != sessions.end();) {
    const auto session = (*at)->shared_from_this();
    act(*session);
    ++at;
  }
}

void ServerState::Begin(Socket socket, std::string client) {
  if (stopping) return;  // it was accepted before the listener closed; now it closes
  std::make_shared<Session>(*this, std::move(socket), std::move(client))->Start();
  if (!beats) Beat();
}

// First those who were refused, then those who have said nothing, then those who are slow to say
// it; among these, the oldest. The system is asked about those alone that would be closed: there
// may be a thousand others, and a thousand who come.
bool ServerState::MakeRoom() {
  using Worth = Session::Worth;
  const auto now = Session::Clock::now();
  for (const Worth worth : {Worth::kRefused, Worth::kSilent, Worth::kSlow}) {
    for (Session* const session : sessions) {
      if (session->GetWorth(now) != worth) continue;
      if (worth != Worth::kRefused && session->HasUnread()) continue;
      session->Close();
      return true;
    }
  }
  return false;
}

void ServerState::HasRoom() noexcept {
  if (ended) return;
  mustResume = !paused.empty();
  if (mustResume || (stopping && sessions.empty())) Wake();
}

void ServerState::Beat() {
  if (sessions.empty() && (stopping || !options.queue->IsBusy())) return;
  pulse.expires_after(kBeat);
  pulse.async_wait([this](const boost::system::error_code& error) {
    if (error) return;
    beats = false;
    options.queue->CheckTime();
    const auto now = Session::Clock::now();
    otherEnds.BeginSweep();
    ForEach([now](Session& session) { session.Tick(now); });
    if (!paused.empty()) MakeRoom();
    Beat();
  });
  beats = true;
}

void ServerState::CloseListeners() {
  paused.clear();
  for (const auto& listener : listeners) listener->Close();
  listeners.clear();
}

// Adds a listener. All have the same port: where any would do, the first one's choice counts.
base::Result<void> ServerState::ListenAt(const std::string& address, bool isOptional) {
  try {
    const tcp::endpoint endpoint(net::ip::make_address(address), port);
    tcp::acceptor acceptor(context);
    acceptor.open(endpoint.protocol());
    KeepFromChildren(static_cast<std::uintptr_t>(acceptor.native_handle()));
    if (endpoint.address().is_v6()) acceptor.set_option(net::ip::v6_only(true));
    if (PortsOutliveTheirSockets()) acceptor.set_option(net::socket_base::reuse_address(true));
    acceptor.bind(endpoint);
    // The backlog is the length of the queue of requests. The system's queue of connections is
    // longer, or it would turn clients away that are to learn that the service is busy.
    acceptor.listen(std::max(options.backlog, static_cast<int>(kMostConnections)));
    listeners.push_back(
        std::make_shared<ListenerOf<tcp>>(*this, std::move(acceptor), std::string()));
  } catch (const boost::system::system_error& failure) {
    const auto& code = failure.code();
    const bool isMissing = code == boost::system::errc::address_not_available ||
                           code == boost::system::errc::address_family_not_supported;
    if (isOptional && isMissing) return {};
    return base::Failure(code.message());
  }
  port = listeners.back()->Port();
  return {};
}

base::Result<void> ServerState::ListenOnPorts() {
  const auto& addresses = options.addresses;
  for (int tries = 1;; ++tries) {
    port = options.port;
    base::Result<void> listens;
    std::string failed;
    for (const std::string& address : addresses) {
      if (listens) listens = ListenAt(address, false), failed = address;
    }
    const bool hasFirst = !listeners.empty();
    if (listens && !options.optionalAddress.empty()) {
      listens = ListenAt(options.optionalAddress, true);
      failed = options.optionalAddress;
    }
    if (listens) return {};
    CloseListeners();
    if (options.port == 0 && hasFirst && tries < kTries) continue;
    const bool isUsual = addresses.size() == 1 && failed == kUsualAddress;
    return base::Failure((isUsual ? "" : failed + ": ") + listens.error().message);
  }
}

Server::Server(std::unique_ptr<ServerState> state) : state_(std::move(state)) {}

base::Result<std::unique_ptr<Server>> Server::Start(ServerOptions options) {
  std::unique_ptr<ServerState> state;
  try {
    state = std::make_unique<ServerState>();
  } catch (const boost::system::system_error& failure) {  // its event loop needs descriptors
    return base::Failure(failure.code().message());
  }
  state->options = std::move(options);
  if (state->options.listensOnPort) {
    if (auto listens = state->ListenOnPorts(); !listens) {
      return tl::unexpected<base::Error>(listens.error());
    }
  }
  if (const std::string& path = state->options.socket; !path.empty()) {
    auto listener = ListenOnPath(*state, path);
    if (!listener) return base::Failure(path + ": " + listener.error().message);
    state->listeners.push_back(std::move(*listener));
  }
  for (const int descriptor : state->options.inherited) {
    auto listener = ListenOnInherited(*state, descriptor);
    if (!listener) return tl::unexpected<base::Error>(listener.error());
    if (state->port == 0) state->port = (*listener)->Port();
    state->listeners.push_back(std::move(*listener));
  }
  state->check.emplace(OwnNames(state->options.addresses), state->port, state->options.token);
  const std::size_t descriptors = AllowDescriptors(kMostConnections + kOtherDescriptors);
  const std::size_t others = std::min(kOtherDescriptors, descriptors / 2);
  state->connectionLimit = std::min(kMostConnections, descriptors - others);
  for (const auto& listener : state->listeners) listener->Accept();
  std::unique_ptr<Server> server(new Server(std::move(state)));
  try {
    server->state_->thread = std::thread([state = server->state_.get()] { state->Run(); });
  } catch (const std::system_error& failure) {
    return base::Failure(failure.code().message());
  }
  return server;
}

Server::~Server() {
  if (!state_->thread.joinable()) {  // it could not be started
    state_->stopping = true;
    return;
  }
  Abort();
  state_->thread.join();
}

std::uint16_t Server::Port() const { return state_->port; }

void Server::Stop() {
  state_->mustStop = true;
  state_->Wake();
  std::unique_lock lock(state_->callsMutex);
  state_->stopped.wait(lock, [this] { return state_->hasStopped || state_->ended; });
}

bool Server::HasEnded() const { return state_->ended; }

void Server::Abort() {
  state_->mustAbort = true;
  state_->Wake();
}

}  // namespace script::service
