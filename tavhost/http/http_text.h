#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/base/string.h"

// From the bytes of an answer to text.
namespace http {

// The value of the charset parameter as sent, without quotes; empty when there is none.
std::string CharsetOf(std::string_view contentType);

// So much of a body is converted between two looks at whether a stop is asked for: some
// milliseconds of work.
inline constexpr std::size_t kSliceOfText = std::size_t{1} << 20;

// The text of a body, in UTF-8: by the charset, else a byte-order mark, else as UTF-8 when it is
// that, else as windows-1252. What the encoding does not allow becomes U+FFFD; a byte-order mark is
// dropped, except by the system's charsets. A body that is its own text lends its memory.
//
// Throws stop::Stopped when a stop is asked for meanwhile, std::bad_alloc and std::length_error
// when the text is too long.
SV::String TextOf(std::string_view charset, const SV::String& body,
                  std::size_t slice = kSliceOfText);
// The same, and the body is gone: what has been converted is given back to the system on the way,
// so that a large body is never there beside its whole text. Nobody else may hold it.
SV::String TakeTextOf(std::string_view charset, SV::String& body);

}  // namespace http
