#pragma once

#include <optional>
#include <string>
#include <string_view>

// The addresses that the script service listens on, as text.
namespace script::service {

// The form in which sockets, URLs and requests spell an address, from any spelling of it. Empty for
// what is not the address of one network interface: names, and those that stand for all interfaces
// or for a group. Whoever opens the service to a network names each address, so that a request's
// `Host` can be held against them.
std::optional<std::string> ReadAddress(std::string_view text);

// Whether only programs on this machine reach it. The address is one that ReadAddress gave.
bool IsLoopback(const std::string& address);

// As the host of a URL: an IPv6 address in brackets and without its zone, which means nothing to
// another machine.
std::string UrlHost(const std::string& address);

}  // namespace script::service
