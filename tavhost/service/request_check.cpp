#include "tavhost/service/request_check.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "tavhost/service/token.h"

namespace script::service {

namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr char kTokenField[] = "X-Tavhost-Token";
constexpr char kDialogsField[] = "X-Tavhost-Dialogs";
constexpr char kQuestionField[] = "X-Tavhost-Question";
constexpr char kTimeoutField[] = "X-Tavhost-Timeout";
// How long a question may stay unanswered: long enough for a user who reads, looks something up and
// decides.
constexpr auto kQuestionTime = std::chrono::seconds(300);
constexpr auto kLongestQuestionTime = std::chrono::seconds(3600);
constexpr double kLongestTimeLimit = 1e6;  // seconds

struct Path {
  std::string_view name;
  Order::Kind kind;
  http::verb method;
};
constexpr Path kPaths[] = {
    {"/script", Order::Kind::kScript, http::verb::post},
    {"/command", Order::Kind::kCommand, http::verb::post},
    {"/answer", Order::Kind::kAnswer, http::verb::post},
    {"/cancel", Order::Kind::kCancel, http::verb::post},
    {"/status", Order::Kind::kStatus, http::verb::get},
};

const Path* FindPath(std::string_view target) {
  for (const Path& path : kPaths) {
    if (path.name == target) return &path;
  }
  return nullptr;
}

std::string_view View(beast::string_view text) { return {text.data(), text.size()}; }

Refusal NoSuchPath(std::string_view target) {
  if (FindPath(target.substr(0, target.find('?')))) {
    return {404, "a path takes no ? and nothing behind it"};
  }
  return {404, "there are /script, /command, /answer, /cancel and /status"};
}

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

std::optional<std::chrono::milliseconds> ReadTimeLimit(std::string_view field) {
  double seconds = 0;
  const char* const end = field.data() + field.size();
  const auto [at, error] = std::from_chars(field.data(), end, seconds, std::chars_format::fixed);
  if (error != std::errc() || at != end) return std::nullopt;
  if (!(seconds >= 0.001) || seconds > kLongestTimeLimit) return std::nullopt;
  return std::chrono::milliseconds(std::lround(seconds * 1000));
}

// The fields that say how a request is to be carried out.
std::variant<Order, Refusal> ReadOrder(const RequestReader::Request& request, Order::Kind kind) {
  Order order;
  order.kind = kind;
  if (kind == Order::Kind::kAnswer) {
    if (request.count(kQuestionField) != 1) return Refusal{400, "the question's id is missing"};
    order.question = View(request[kQuestionField]);
  }
  if (kind != Order::Kind::kScript && kind != Order::Kind::kCommand) return order;
  if (const auto count = request.count(kDialogsField); count > 0) {
    const auto time = ReadQuestionTime(View(request[kDialogsField]));
    if (count > 1 || !time) {
      return Refusal{400, "X-Tavhost-Dialogs is ask, or ask and 1 to 3600 seconds"};
    }
    order.questionTime = *time;
  }
  if (const auto count = request.count(kTimeoutField); count > 0) {
    order.timeLimit = ReadTimeLimit(View(request[kTimeoutField]));
    if (count > 1 || !order.timeLimit) {
      return Refusal{400, "X-Tavhost-Timeout is a number of seconds from 0.001 to 1000000"};
    }
  }
  return order;
}

}  // namespace

RequestCheck::RequestCheck(std::vector<std::string> hosts, std::uint16_t port, std::string token)
    : hosts_(std::move(hosts)),
      port_(port == 0 ? std::string() : ':' + std::to_string(port)),
      token_(std::move(token)) {}

std::variant<Order, Refusal> RequestCheck::Look(const RequestReader::Request& request) const {
  const auto fields = static_cast<std::size_t>(std::distance(request.begin(), request.end()));
  if (fields > kFieldLimit) return Refusal{431, "the header is too long"};
  // One length, told in one way, or a front end and this server could see different requests.
  const auto encodings = request.count(http::field::transfer_encoding);
  if (request.count(http::field::content_length) + encodings > 1 ||
      View(request[http::field::content_length]).find(',') != std::string_view::npos ||
      (encodings == 1 && !beast::iequals(request[http::field::transfer_encoding], "chunked"))) {
    return Refusal{400, "the length of the body is ambiguous"};
  }
  const auto hosts = request.count(http::field::host);
  if (hosts == 0) return Refusal{400, "the request does not name its host"};
  if (hosts > 1) return Refusal{400, "the request names more than one host"};
  if (!IsOwnHost(View(request[http::field::host]))) {
    return Refusal{403, "the request is meant for another host"};
  }
  const auto origins = request.count(http::field::origin);
  if (origins > 1 || (origins == 1 && !IsOwnOrigin(View(request[http::field::origin])))) {
    return Refusal{403, "web pages may not send requests"};
  }
  const Path* const path = FindPath(View(request.target()));
  if (!path) return NoSuchPath(View(request.target()));
  if (request.method() != path->method) {
    return Refusal{405, path->method == http::verb::get ? "the status is asked for by GET"
                                                        : "requests are sent by POST"};
  }
  if (!HasToken(request)) return Refusal{401, "the token is missing or wrong"};
  return ReadOrder(request, path->kind);
}

bool RequestCheck::HasToken(const RequestReader::Request& request) const {
  return request.count(kTokenField) == 1 &&
         IsEqualInConstantTime(View(request[kTokenField]), token_);
}

bool RequestCheck::IsOwnHost(std::string_view host) const {
  const beast::string_view given(host.data(), host.size());
  for (const std::string& name : hosts_) {
    if (beast::iequals(given, name) || beast::iequals(given, name + port_)) return true;
  }
  return false;
}

bool RequestCheck::IsOwnOrigin(std::string_view origin) const {
  const beast::string_view given(origin.data(), origin.size());
  for (const std::string& name : hosts_) {
    if (beast::iequals(given, "http://" + name + port_)) return true;
  }
  return false;
}

}  // namespace script::service
