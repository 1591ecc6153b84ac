#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "host/base/string.h"
#include "tavhost/http/http_proxy.h"
#include "tavhost/http/http_url.h"

// One request and its answer on the wire, carried by the platform's HTTP library, which the first
// request loads. Redirects and retries are for the caller. On the user-interface thread.
namespace http {

struct Timeouts {
  // Milliseconds, 0 without a limit.
  std::uint32_t resolve = 30000;
  std::uint32_t connect = 60000;
  std::uint32_t send = 30000;
  std::uint32_t receive = 30000;
};

// After content encodings are undone.
inline constexpr std::size_t kBodyLimit = std::size_t{256} << 20;

struct Request {
  Url url;
  std::string verb;
  std::optional<Proxy> proxy;
};

struct Answer {
  int status = 0;
  std::string header;  // status line and fields as they came, the last line empty
  SV::String body;
};

class Watch;

// False when no complete answer came, or a stop was asked for. The watch ends what takes too long;
// it is that of the whole attempt, to which other exchanges may have belonged. Throws
// std::runtime_error when the system has no HTTP library.
bool Exchange(const Request& request, Watch& watch, Answer& answer);

// How long one attempt may take in all, in milliseconds by the clock: the sum of its timeouts. One
// of 0 adds nothing. When sending or receiving has no limit, the whole has none, which is 0.
std::uint64_t WholeTime(const Timeouts& timeouts);

// Lets the windows paint themselves, at most every 20 ms. They take no other event while a request
// waits: the script is in the middle of a command.
void PaintWhileWaiting();

}  // namespace http
