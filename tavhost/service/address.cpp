#include "tavhost/service/address.h"

#include <boost/asio/ip/address.hpp>

namespace script::service {

namespace ip = boost::asio::ip;

std::optional<std::string> ReadAddress(std::string_view text) {
  boost::system::error_code error;
  ip::address address = ip::make_address(std::string(text), error);
  if (error) return std::nullopt;
  if (address.is_v6() && address.to_v6().is_v4_mapped()) {
    address = ip::make_address_v4(ip::v4_mapped, address.to_v6());
  }
  if (address.is_unspecified() || address.is_multicast()) return std::nullopt;
  if (address == ip::address(ip::address_v4::broadcast())) return std::nullopt;
  return address.to_string();
}

bool IsLoopback(const std::string& address) { return ip::make_address(address).is_loopback(); }

std::string UrlHost(const std::string& address) {
  if (address.find(':') == std::string::npos) return address;
  return '[' + address.substr(0, address.find('%')) + ']';
}

}  // namespace script::service
