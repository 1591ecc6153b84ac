#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tl {
template <class T, class E>
class expected;
template <class E>
class unexpected;
}  // namespace tl

// What a function returns that can fail: its value, or why there is none. This header is all that
// a declaration needs; sources that make such a result or look into it include <tl/expected.hpp>.
namespace base {

// Why something failed, in words for a person, and the place where, as far as there is one.
struct Error {
  std::string message;
  std::optional<std::string> file;
  std::uint32_t line = 0;    // from 1 on; 0: none
  std::uint32_t column = 0;  // likewise, in characters

  // "FILE:LINE:COLUMN: error: MESSAGE", as far as there is a place; without a file the message
  // alone.
  std::string Text() const;
};

// `Cause` is another type than Error only where the caller needs something else than words.
template <typename T, typename Cause = Error>
using Result = tl::expected<T, Cause>;

// What a function returns as its result when it fails.
tl::unexpected<Error> Failure(std::string message, std::optional<std::string> file = {},
                              std::uint32_t line = 0, std::uint32_t column = 0);

}  // namespace base
