#pragma once

#include <string>
#include <string_view>

// Text between UTF-8, which the host works in, and the UTF-16 that some of its neighbours take.
// What is not well-formed (RFC 3629; a surrogate without its partner) becomes U+FFFD.
namespace utf16 {

std::u16string FromUtf8(std::string_view bytes);
std::string ToUtf8(std::u16string_view units);

// The text itself where it is well-formed UTF-8, otherwise `room` with the text made so.
std::string_view WellFormed(std::string_view bytes, std::string& room);

}  // namespace utf16
