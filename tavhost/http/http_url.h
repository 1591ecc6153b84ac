#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// URLs of http and https (RFC 3986), as far as a client needs them.
namespace http {

struct Url {
  bool secure = false;
  std::string userInfo;  // as written; empty when there is none
  std::string host;      // as written, an IPv6 address without its brackets
  std::uint16_t port = 0;
  std::string target;  // path and query; bytes outside ASCII escaped; never empty

  // Scheme, host and port, without user info.
  std::string Origin() const;
  std::string Text() const { return Origin() + target; }
  bool SameOrigin(const Url& other) const {
    return secure == other.secure && port == other.port && host == other.host;
  }
};

// Empty for what is malformed, has another scheme, or holds control characters or blanks.
std::optional<Url> ParseUrl(std::string_view text);
// The URL that a reference, as in a redirect, means on the page `base`; empty as with ParseUrl.
std::optional<Url> ResolveUrl(const Url& base, std::string_view reference);
// A URL, or what was meant to be one, as others may see it: `***` stands for user name and
// password.
std::string WithoutUserInfo(std::string_view text);
// `%41` becomes `A`; a percent sign without two digits behind it stays.
std::string PercentDecoded(std::string_view text);

}  // namespace http
