#include "tavhost/windows/proxy_settings.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace proxy_settings {

namespace {

std::string Variable(const char* lower, const char* upper) {
  if (const char* value = std::getenv(lower)) return value;
  const char* value = upper ? std::getenv(upper) : nullptr;
  return value ? value : "";
}

// `scheme=` and the proxy's URL without a slash at its end.
void AddEntry(std::string& list, std::string_view scheme, std::string_view proxy) {
  if (proxy.empty()) return;
  if (proxy.back() == '/') proxy.remove_suffix(1);
  if (!list.empty()) list += ';';
  list += scheme;
  list += proxy;
}

Settings FromEnvironment() {
  Settings settings;
  // In upper case HTTP_PROXY can be set by a request to a CGI program, so it is not believed.
  AddEntry(settings.proxy, "http=", Variable("http_proxy", nullptr));
  AddEntry(settings.proxy, "https=", Variable("https_proxy", "HTTPS_PROXY"));
  AddEntry(settings.proxy, "", Variable("all_proxy", "ALL_PROXY"));
  settings.bypass = Variable("no_proxy", "NO_PROXY");
  for (char& c : settings.bypass) {
    if (c == ',') c = ';';
  }
  return settings;
}

// What the desktop's settings tool prints for a key, without quotes and line end. Starts a process,
// so only a script that asks for proxy settings waits for it.
std::string DesktopSetting(const std::string& key) {
  struct Closer {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
  };
  const std::string command = "gsettings get org.gnome.system.proxy" + key + " 2>/dev/null";
  const std::unique_ptr<std::FILE, Closer> pipe(popen(command.c_str(), "r"));
  if (!pipe) return {};
  char line[512] = "";
  if (!std::fgets(line, sizeof line, pipe.get())) return {};
  std::string value(line);
  while (!value.empty() && (value.back() == '\n' || value.back() == '\'')) value.pop_back();
  if (!value.empty() && value.front() == '\'') value.erase(0, 1);
  return value;
}

Settings FromDesktop() {
  Settings settings;
  if (Variable("XDG_CURRENT_DESKTOP", nullptr).find("GNOME") == std::string::npos) return settings;
  if (DesktopSetting(" mode") != "manual") return settings;
  for (const char* scheme : {"http", "https"}) {
    const std::string host = DesktopSetting(std::string(".") + scheme + " host");
    const std::string port = DesktopSetting(std::string(".") + scheme + " port");
    if (!host.empty() && port != "0") {
      AddEntry(settings.proxy, std::string(scheme) + "=", host + ":" + port);
    }
  }
  return settings;
}

}  // namespace

std::optional<Settings> Read() {
  if (const char* given = std::getenv("TAVHOST_PROXY_SETTINGS")) {
    if (std::string_view(given) == "!") return std::nullopt;
    return Settings{given, ""};
  }
  Settings settings = FromEnvironment();
  if (settings.proxy.empty()) settings = FromDesktop();
  return settings;
}

}  // namespace proxy_settings
