#include "tavhost/service/address.h"

#include <boost/asio/ip/address.hpp>

namespace script::service {

namespace ip = boost::asio::ip;

std::optional<std::string> ReadAddress(std::string_view text) {
  boost::system::error_code error;
  const ip::address address = ip::make_address(std::string(text), error);
  if (error || address.is_unspecified() || address.is_multicast()) return std::nullopt;
  return address.to_string();
}

bool IsLoopback(const std::string& address) { return ip::make_address(address).is_loopback(); }

std::string UrlHost(const std::string& address) {
  if (address.find(':') == std::string::npos) return address;
  return '[' + address.substr(0, address.find('%')) + ']';
}

}  // namespace script::service
