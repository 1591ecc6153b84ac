#pragma once

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <memory>
#include <new>
#include <string>

#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/report.h"
#include "tavhost/service/server_state.h"
#include "tavhost/service/sockets.h"

namespace script::service {

// Accepts the connections of one socket. Where the system gives none for a while, it is asked again
// ten times a second, not all the time.
template <typename Protocol>
class ListenerOf final : public Listener {
 public:
  using Acceptor = boost::asio::basic_socket_acceptor<Protocol>;

  ListenerOf(ServerState& state, Acceptor acceptor, std::string clients)
      : state_(state),
        acceptor_(std::move(acceptor)),
        retry_(state.context),
        clients_(std::move(clients)) {}

  void Accept() override {
    if (accepting_) return;
    acceptor_.async_accept(
        [accepting = Accepting(std::static_pointer_cast<ListenerOf>(this->shared_from_this()))](
            const auto& error, boost::asio::basic_stream_socket<Protocol> socket) mutable {
          const std::shared_ptr<ListenerOf> self = accepting.End();
          if (error) return self->OnError(error);
          const memory_reserve::Use reserve;
          try {
            self->Begin(std::move(socket));
          } catch (const std::bad_alloc&) {
            report::Line("script service: out of memory");  // the connection closes
          }
          self->Resume();
        });
  }

  // Whoever comes while all connections are in use by those who may use them waits.
  void Resume() override {
    if (accepting_ || !acceptor_.is_open()) return;
    if (state_.IsFull() && !state_.MakeRoom()) return state_.paused.push_back(this);
    Accept();
  }

  void Close() override {
    boost::system::error_code ignored;
    acceptor_.close(ignored);
    retry_.cancel(ignored);
  }

  std::uint16_t Port() const override { return PortOf(acceptor_); }

 private:
  // Goes with the handler of what is under way, which is dropped without a call where there is no
  // memory to hand a connection over: then too the listener accepts no more.
  class Accepting {
   public:
    explicit Accepting(std::shared_ptr<ListenerOf> listener) : listener_(std::move(listener)) {
      listener_->accepting_ = true;
    }
    Accepting(Accepting&&) noexcept = default;
    ~Accepting() { End(); }

    std::shared_ptr<ListenerOf> End() noexcept {
      if (listener_) listener_->accepting_ = false;
      return std::move(listener_);
    }

   private:
    std::shared_ptr<ListenerOf> listener_;
  };

  static constexpr auto kRetry = std::chrono::milliseconds(100);

  static std::uint16_t PortOf(const boost::asio::ip::tcp::acceptor& acceptor) {
    boost::system::error_code ignored;
    return acceptor.local_endpoint(ignored).port();
  }
  template <typename Other>
  static std::uint16_t PortOf(const Other&) {
    return 0;
  }

  static std::string Prepare(boost::asio::ip::tcp::socket& socket) {
    boost::system::error_code ignored;
    socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    FindOutWhoIsGone(static_cast<std::uintptr_t>(socket.native_handle()));
    const auto remote = socket.remote_endpoint(ignored);
    return remote.address().to_string(ignored) + ':' + std::to_string(remote.port());
  }
  template <typename Other>
  static std::string Prepare(const Other&) {
    return {};
  }

  void Begin(boost::asio::basic_stream_socket<Protocol> socket) {
    KeepFromChildren(static_cast<std::uintptr_t>(socket.native_handle()));
    if (state_.IsFull()) state_.MakeRoom();
    const std::string client = Prepare(socket);
    state_.Begin(std::move(socket), client.empty() ? clients_ : client);
  }

  void OnError(const boost::system::error_code& error) {
    if (!acceptor_.is_open() || error == boost::asio::error::operation_aborted) return;
    if (error == boost::asio::error::connection_aborted) return Accept();
    if (const auto times = state_.refusals.Happened(std::chrono::steady_clock::now())) {
      const std::string often = *times > 1 ? " (" + std::to_string(*times) + " times)" : "";
      report::Line("script service: no connection can be accepted: " + error.message() + often);
    }
    if (state_.MakeRoom()) return Accept();
    retry_.expires_after(kRetry);
    retry_.async_wait([self = this->shared_from_this(), this](const auto& cancelled) {
      if (!cancelled && acceptor_.is_open()) Accept();
    });
  }

  ServerState& state_;
  Acceptor acceptor_;
  boost::asio::steady_timer retry_;
  const std::string clients_;  // what their clients are called in the log
  bool accepting_ = false;
};

}  // namespace script::service
