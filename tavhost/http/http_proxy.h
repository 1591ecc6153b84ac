#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Proxy lists, as the user's settings name them.
namespace http {

struct Proxy {
  std::string forScheme;  // `http` or `https` when it serves only those URLs, else empty
  std::string scheme;     // http, https, socks4, socks4a, socks5 or socks5h
  std::string userInfo;   // as written; empty when there is none
  std::string hostAndPort;

  std::string Text() const { return scheme + "://" + hostAndPort; }
};

// Empty when any entry names no proxy: each needs a port or a scheme.
std::optional<std::vector<Proxy>> ParseProxyList(std::string_view text);
// The first that serves such URLs; null means a direct connection.
const Proxy* ChooseProxy(const std::vector<Proxy>& proxies, bool secure);

}  // namespace http
