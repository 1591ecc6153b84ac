#include "tavhost/loader/path_text.h"

#include <system_error>

namespace loader {

std::filesystem::path ToPath(const std::string& text) {
  return std::u8string(reinterpret_cast<const char8_t*>(text.data()), text.size());
}

std::string ToText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

std::string WholePath(const std::string& text) {
  std::error_code error;  // the working folder is gone
  const std::filesystem::path whole = std::filesystem::absolute(ToPath(text), error);
  return error ? text : ToText(whole);
}

}  // namespace loader
