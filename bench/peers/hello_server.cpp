// A peer and a target: answers every request with a constant, and /large/N with N MiB. Boost.Beast
// on one thread, as small as it gets.
#include <utility>
//
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;

namespace {

class Session : public std::enable_shared_from_this<Session> {
 public:
  explicit Session(tcp::socket socket) : socket_(std::move(socket)) {
    socket_.set_option(tcp::no_delay(true));
  }

  void Read() {
    request_ = {};
    http::async_read(socket_, buffer_, request_,
                     [self = shared_from_this()](auto error, std::size_t) {
                       if (!error) self->Answer();
                     });
  }

 private:
  void Answer() {
    response_ = {http::status::ok, 11};
    const std::string target(request_.target());
    const std::size_t bytes = target.starts_with("/large/")
                                  ? std::strtoul(target.c_str() + 7, nullptr, 10) << 20
                              : target == "/small" ? 1024
                                                   : 60;
    response_.body().assign(bytes, 'x');
    response_.keep_alive(request_.keep_alive());
    response_.prepare_payload();
    http::async_write(socket_, response_, [self = shared_from_this()](auto error, std::size_t) {
      if (!error && self->response_.keep_alive()) self->Read();
    });
  }

  tcp::socket socket_;
  beast::flat_buffer buffer_;
  http::request<http::string_body> request_;
  http::response<http::string_body> response_;
};

void Accept(tcp::acceptor& acceptor) {
  acceptor.async_accept([&acceptor](auto error, tcp::socket socket) {
    if (!error) std::make_shared<Session>(std::move(socket))->Read();
    Accept(acceptor);
  });
}

}  // namespace

int main() {
  net::io_context context{1};
  tcp::acceptor acceptor(context, {net::ip::make_address("127.0.0.1"), 0});
  std::printf("%d\n", acceptor.local_endpoint().port());
  std::fflush(stdout);
  Accept(acceptor);
  context.run();
}
