#include "tavhost/ui/display.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/base/descriptor_posix.h"

namespace ui {

namespace {

std::string_view Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

// A function of a library that the windows need too, and that is there wherever they can be. It
// stays loaded. Null when there is no such library.
template <typename Function>
Function* Find(const char* library, const char* name) {
  void* const loaded = dlopen(library, RTLD_NOW | RTLD_LOCAL);
  return loaded ? reinterpret_cast<Function*>(dlsym(loaded, name)) : nullptr;
}

bool AnswersX11() {
  constexpr const char* kLibrary = "libxcb.so.1";
  auto* const connect = Find<void*(const char*, int*)>(kLibrary, "xcb_connect");
  auto* const hasError = Find<int(void*)>(kLibrary, "xcb_connection_has_error");
  auto* const disconnect = Find<void(void*)>(kLibrary, "xcb_disconnect");
  if (!connect || !hasError || !disconnect) return false;
  void* const connection = connect(nullptr, nullptr);
  const bool answers = hasError(connection) == 0;
  disconnect(connection);
  return answers;
}

void Ignore(const char*, va_list) {}

bool AnswersWayland() {
  constexpr const char* kLibrary = "libwayland-client.so.0";
  // It would tell a person in words of its own why it cannot be connected.
  auto* const tellBy =
      Find<void(void (*)(const char*, va_list))>(kLibrary, "wl_log_set_handler_client");
  if (tellBy) tellBy(Ignore);
  auto* const connect = Find<void*(const char*)>(kLibrary, "wl_display_connect");
  auto* const disconnect = Find<void(void*)>(kLibrary, "wl_display_disconnect");
  void* const connection = connect && disconnect ? connect(nullptr) : nullptr;
  if (connection) disconnect(connection);
  return connection != nullptr;
}

// What the toolkit opens while it starts, its libraries and fonts among it; where it cannot it ends
// the program.
constexpr std::size_t kNeededDescriptors = 24;

base::Result<void> CheckDescriptors() {
  std::vector<base::Descriptor> opened;
  while (opened.size() < kNeededDescriptors) {
    opened.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (opened.back().IsOpen()) continue;
    return base::Failure(std::string(std::strerror(errno)) + "; " +
                         std::to_string(kNeededDescriptors) + " more are needed (ulimit -n)");
  }
  return {};
}

}  // namespace

bool HasDisplay() { return !Variable("DISPLAY").empty() || !Variable("WAYLAND_DISPLAY").empty(); }

std::string_view WantedPlatform() { return Variable("QT_QPA_PLATFORM"); }

// Which one is taken where windows could be shown in two ways is not known here. That of Wayland is
// often not installed.
bool IsPlatformSure() {
  const std::string_view platform = WantedPlatform();
  if (!platform.empty()) return platform == "offscreen" || platform == "minimal";
  return Variable("WAYLAND_DISPLAY").empty() || (!Variable("DISPLAY").empty() && AnswersX11());
}

base::Result<void> CheckDisplay() {
  if (base::Result<void> descriptors = CheckDescriptors(); !descriptors) return descriptors;
  const std::string_view platform = WantedPlatform();
  const bool isShown = platform.empty()
                           ? HasDisplay()
                           : platform.starts_with("xcb") || platform.starts_with("wayland");
  if (!isShown) return {};
  const std::string_view x11 = Variable("DISPLAY");
  const std::string_view wayland = Variable("WAYLAND_DISPLAY");
  if ((!x11.empty() && AnswersX11()) || (!wayland.empty() && AnswersWayland())) return {};
  std::string names(x11);
  if (!wayland.empty()) names.append(x11.empty() ? "" : " or ").append(wayland);
  if (names.empty()) return base::Failure("there is no display");
  return base::Failure("the display " + names + " cannot be reached");
}

}  // namespace ui
