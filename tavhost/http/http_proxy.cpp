#include "tavhost/http/http_proxy.h"

#include <algorithm>
#include <array>

namespace http {

namespace {

struct KnownScheme {
  std::string_view name;
  std::string_view port;
};

constexpr std::array<KnownScheme, 7> kProxySchemes{{{"http", "80"},
                                                    {"https", "443"},
                                                    {"socks", "1080"},
                                                    {"socks4", "1080"},
                                                    {"socks4a", "1080"},
                                                    {"socks5", "1080"},
                                                    {"socks5h", "1080"}}};

const KnownScheme* FindScheme(std::string_view name) {
  const auto found = std::find_if(kProxySchemes.begin(), kProxySchemes.end(),
                                  [name](const KnownScheme& known) { return known.name == name; });
  return found == kProxySchemes.end() ? nullptr : &*found;
}

bool IsPort(std::string_view text) {
  return !text.empty() && text.size() <= 5 && text.find_first_not_of("0123456789") == text.npos &&
         std::stoi(std::string(text)) > 0 && std::stoi(std::string(text)) <= 65535;
}

// What libraries stop at, or take for the end of a line.
bool HasControl(std::string_view text) {
  return text.find("%00") != text.npos || std::any_of(text.begin(), text.end(), [](char c) {
           return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
         });
}

std::optional<Proxy> ParseEntry(std::string_view entry) {
  if (HasControl(entry)) return std::nullopt;
  Proxy proxy;
  bool named = false;  // the entry names a scheme; it then needs no port
  if (const auto equals = entry.find('='); equals != entry.npos) {
    proxy.forScheme = entry.substr(0, equals);
    entry.remove_prefix(equals + 1);
    named = true;
  }
  proxy.scheme = proxy.forScheme == "socks" ? "socks" : "http";
  if (const auto colon = entry.find("://"); colon != entry.npos) {
    proxy.scheme = entry.substr(0, colon);
    entry.remove_prefix(colon + 3);
    named = true;
  }
  const KnownScheme* known = FindScheme(proxy.scheme);
  if (!known || (named && !proxy.forScheme.empty() && !FindScheme(proxy.forScheme) &&
                 proxy.forScheme != "ftp")) {
    return std::nullopt;
  }
  if (proxy.scheme == "socks") proxy.scheme = "socks4a";
  if (proxy.forScheme == "socks") proxy.forScheme.clear();
  if (!entry.empty() && entry.back() == '/') entry.remove_suffix(1);
  if (const auto at = entry.rfind('@'); at != entry.npos) {
    proxy.userInfo = entry.substr(0, at);
    entry.remove_prefix(at + 1);
  }
  const auto bracket = entry.rfind(']');
  const auto colon = entry.rfind(':');
  const bool hasPort = colon != entry.npos && (bracket == entry.npos || colon > bracket);
  const std::string_view host = entry.substr(0, hasPort ? colon : entry.npos);
  if (host.empty() || host.find_first_of(" \t/?#\\,") != host.npos) return std::nullopt;
  if (hasPort ? !IsPort(entry.substr(colon + 1)) : !named) return std::nullopt;
  proxy.hostAndPort =
      std::string(host) + ":" + std::string(hasPort ? entry.substr(colon + 1) : known->port);
  return proxy;
}

}  // namespace

std::optional<std::vector<Proxy>> ParseProxyList(std::string_view text) {
  std::vector<Proxy> proxies;
  while (!text.empty()) {
    const std::string_view entry = text.substr(0, text.find(';'));
    text.remove_prefix(std::min(entry.size() + 1, text.size()));
    if (entry.empty()) continue;
    auto proxy = ParseEntry(entry);
    if (!proxy) return std::nullopt;
    proxies.push_back(*std::move(proxy));
  }
  return proxies;
}

const Proxy* ChooseProxy(const std::vector<Proxy>& proxies, bool secure) {
  const std::string_view wanted = secure ? "https" : "http";
  const auto exact = std::find_if(proxies.begin(), proxies.end(),
                                  [&](const Proxy& proxy) { return proxy.forScheme == wanted; });
  if (exact != proxies.end()) return &*exact;
  const auto any = std::find_if(proxies.begin(), proxies.end(),
                                [](const Proxy& proxy) { return proxy.forScheme.empty(); });
  return any == proxies.end() ? nullptr : &*any;
}

}  // namespace http
