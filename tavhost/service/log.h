#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "host/script/script_service.h"

namespace script::service {

// One request: answered, or given up by its client.
struct LogEntry {
  // Its reply was not taken any further than that.
  struct Cut {
    std::size_t at = 0;  // bytes, as is the next
    std::size_t length = 0;
  };

  std::string client;  // address and port
  std::string method;
  std::string target;
  std::string agent;
  unsigned status = 0;    // 0: the client left before there was a reply
  std::size_t bytes = 0;  // of the request's body
  std::chrono::microseconds time{};
  std::optional<Cut> cut{};
};

// `2026-01-31T12:00:00Z POST /script 200 1.5 ms`; the long form adds client, length and program. A
// reply that was cut has one more: `... 200 30001.5 ms cut off at 4096 of 30000 bytes`. A request
// whose client left before there was a reply: `... POST /script - 1.5 ms the client left`. What the
// client has sent is escaped, so that it cannot forge lines or drive a terminal, and cut where it
// is long. Neither `secret`, the token, nor what follows a path, nor a body is in it.
std::string LogLine(const LogEntry& entry, TavWSLogFormat format, std::string_view secret);

// `2026-01-31T12:00:00Z`.
std::string DateText(std::chrono::system_clock::time_point when);

}  // namespace script::service
