#include "tavhost/base/result.h"

#include <tl/expected.hpp>
#include <utility>

namespace base {

std::string Error::Text() const {
  if (!file) return message;
  std::string place = *file;
  if (line > 0) place += ':' + std::to_string(line);
  if (line > 0 && column > 0) place += ':' + std::to_string(column);
  return place + ": error: " + message;
}

tl::unexpected<Error> Failure(std::string message, std::optional<std::string> file,
                              std::uint32_t line, std::uint32_t column) {
  return tl::unexpected<Error>(Error{std::move(message), std::move(file), line, column});
}

}  // namespace base
