#pragma once

#include <optional>
#include <string>

// The current user's proxies on systems other than Windows.
namespace proxy_settings {

struct Settings {
  std::string proxy;   // `scheme=host:port` entries joined by `;`; empty for none
  std::string bypass;  // hosts joined by `;`
};

// From the environment variables http_proxy (in lower case alone), https_proxy, all_proxy and
// no_proxy, else from the desktop. TAVHOST_PROXY_SETTINGS, when set, is the proxy text itself; the
// value `!` stands for settings that cannot be read. Empty when they cannot be read.
std::optional<Settings> Read();

}  // namespace proxy_settings
