#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tavhost/service/request_reader.h"

// Who may send what: what the header of a request says, looked at before anything of its body is.
namespace script::service {

// What a request asks for. Taken from its header alone: fields behind a body in pieces count for
// nothing.
struct Order {
  enum class Kind : std::uint8_t { kScript, kCommand, kAnswer, kCancel, kStatus };

  Kind kind = Kind::kScript;
  // How long its client may take to answer a window; zero: it does not answer them.
  std::chrono::seconds questionTime{0};
  std::optional<std::chrono::milliseconds> timeLimit;
  std::string question;  // the id of the one that is answered
};

struct Refusal {
  unsigned status;
  const char* text;
};

class RequestCheck {
 public:
  // `hosts` are the names of the service in URLs; `port` 0: it has none.
  RequestCheck(std::vector<std::string> hosts, std::uint16_t port, std::string token);

  std::variant<Order, Refusal> Look(const RequestReader::Request& request) const;
  // Whether whoever sent it is one who may.
  bool HasToken(const RequestReader::Request& request) const;

 private:
  bool IsOwnHost(std::string_view host) const;
  bool IsOwnOrigin(std::string_view origin) const;

  const std::vector<std::string> hosts_;
  const std::string port_;  // with its colon
  const std::string token_;
};

}  // namespace script::service
