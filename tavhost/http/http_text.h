#pragma once

#include <optional>
#include <string>
#include <string_view>

// From the bytes of an answer to text.
namespace http {

// The value of the charset parameter as sent, without quotes; empty when there is none.
std::string CharsetOf(std::string_view contentType);

// By the charset, else a byte-order mark, else UTF-8 when it is that, else windows-1252. What the
// encoding does not allow becomes U+FFFD; a byte-order mark is dropped.
std::u16string DecodeText(std::string_view bytes, std::string_view charset);

// Platform part, for charsets other than UTF-8 and windows-1252; empty when the system does not
// know the charset.
std::optional<std::u16string> DecodeWithSystem(std::string_view bytes, const std::string& charset);

}  // namespace http
