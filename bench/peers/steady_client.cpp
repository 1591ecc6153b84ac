// Sends requests at a fixed rate, whatever becomes of those before, and tells how long the replies
// took from when each request was due: what a client waited that comes when it likes. One that
// sends the next request behind each reply loads two processors wholly and measures mostly how
// these are shared out.
//
//   steady_client PORT PATH TOKEN CONNECTIONS RATE SECONDS
//
// prints the replies a second and the milliseconds under which 50 and 99 % of them stayed.
#include <utility>
//
#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = net::ip::tcp;
using Clock = std::chrono::steady_clock;

namespace {

class Client {
 public:
  Client(const char* const* arguments, net::io_context& context)
      : rate_(std::atof(arguments[4])), timer_(context) {
    const std::string port = arguments[0];
    request_ = {http::verb::post, arguments[1], 11};
    request_.set(http::field::host, "127.0.0.1:" + port);
    request_.set("X-Tavhost-Token", arguments[2]);
    request_.body() = "GET_DISPLAY_SIZE";
    request_.prepare_payload();
    const auto number = static_cast<unsigned short>(std::atoi(port.c_str()));
    for (int i = 0; i < std::atoi(arguments[3]); ++i) {
      connections_.push_back(std::make_unique<Connection>(context));
      connections_.back()->socket.connect({net::ip::make_address("127.0.0.1"), number});
      connections_.back()->socket.set_option(tcp::no_delay(true));
      idle_.push_back(connections_.back().get());
    }
    count_ = static_cast<std::size_t>(rate_ * std::atof(arguments[5]));
    taken_.reserve(count_);
  }

  void Start() {
    start_ = Clock::now();
    Wait();
  }

  void Print() {
    std::sort(taken_.begin(), taken_.end());
    std::printf("%.0f %.3f %.3f\n", static_cast<double>(taken_.size()) / Seconds(last_ - start_),
                Part(0.50), Part(0.99));
  }

 private:
  struct Connection {
    explicit Connection(net::io_context& context) : socket(context) {}

    tcp::socket socket;
    beast::flat_buffer buffer;
    http::response<http::string_body> response;
    Clock::time_point due;
  };

  static double Seconds(Clock::duration time) {
    return std::chrono::duration<double>(time).count();
  }
  double Part(double part) const {
    return taken_[static_cast<std::size_t>(part * static_cast<double>(taken_.size() - 1))] * 1e3;
  }

  Clock::time_point DueTime(std::size_t number) const {
    const std::chrono::duration<double> time(static_cast<double>(number) / rate_);
    return start_ + std::chrono::duration_cast<Clock::duration>(time);
  }

  void Wait() {
    if (due_ == count_) return;
    timer_.expires_at(DueTime(due_));
    timer_.async_wait([this](const auto&) {
      for (const auto now = Clock::now(); due_ < count_ && DueTime(due_) <= now; ++due_) {
        waiting_.push_back(DueTime(due_));
      }
      SendDue();
      Wait();
    });
  }

  void SendDue() {
    while (!waiting_.empty() && !idle_.empty()) {
      Connection& connection = *idle_.front();
      idle_.pop_front();
      connection.due = waiting_.front();
      waiting_.pop_front();
      Send(connection);
    }
  }

  void Send(Connection& connection) {
    http::async_write(connection.socket, request_, [this, &connection](auto error, std::size_t) {
      if (error) throw beast::system_error(error);
      connection.response = {};
      http::async_read(connection.socket, connection.buffer, connection.response,
                       [this, &connection](auto failed, std::size_t) {
                         if (failed) throw beast::system_error(failed);
                         OnReply(connection);
                       });
    });
  }

  void OnReply(Connection& connection) {
    if (connection.response.result() != http::status::ok) {
      throw std::runtime_error("a request was refused");
    }
    last_ = Clock::now();
    taken_.push_back(Seconds(last_ - connection.due));
    idle_.push_back(&connection);
    SendDue();
  }

  const double rate_;
  std::size_t count_ = 0;  // of all requests
  std::size_t due_ = 0;    // of those that were due by now
  Clock::time_point start_;
  Clock::time_point last_;  // reply
  net::steady_timer timer_;
  http::request<http::string_body> request_;
  std::vector<std::unique_ptr<Connection>> connections_;
  std::deque<Connection*> idle_;
  std::deque<Clock::time_point> waiting_;  // due, while all connections are in use
  std::vector<double> taken_;              // seconds
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 7) return 2;
  try {
    net::io_context context{1};
    Client client(arguments + 1, context);
    client.Start();
    context.run();
    client.Print();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "steady_client: %s\n", failure.what());
    return 1;
  }
}
