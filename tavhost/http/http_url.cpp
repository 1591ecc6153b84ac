#include "tavhost/http/http_url.h"

#include <algorithm>
#include <charconv>
#include <vector>

#include "tavhost/base/ascii.h"

namespace http {

namespace {

bool HasControlOrBlank(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; });
}

std::string EscapedOutsideAscii(std::string_view text) {
  constexpr char kHex[] = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      escaped += c;
    } else {
      escaped += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return escaped;
}

// The length of a scheme in front of `:`, 0 when there is none.
std::size_t SchemeLength(std::string_view text) {
  if (text.empty() || !ascii::IsLetter(text[0])) return 0;
  std::size_t length = 1;
  while (length < text.size() && (ascii::IsLetterOrDigit(text[length]) ||
                                  std::string_view("+-.").find(text[length]) != text.npos)) {
    ++length;
  }
  return length < text.size() && text[length] == ':' ? length : 0;
}

bool ParsePort(std::string_view digits, std::uint16_t& port) {
  if (digits.empty()) return true;  // `host:` means the scheme's own port
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  return error == std::errc() && end == digits.data() + digits.size() && port != 0;
}

bool ParseHostAndPort(std::string_view text, Url& url) {
  if (!text.empty() && text.front() == '[') {
    const auto close = text.find(']');
    if (close == text.npos || close == 1) return false;
    url.host = text.substr(1, close - 1);
    const auto address = std::string_view(url.host);
    if (address.find_first_not_of("0123456789abcdefABCDEF:.%") != address.npos) return false;
    text.remove_prefix(close + 1);
    if (text.empty()) return true;
    return text.front() == ':' && ParsePort(text.substr(1), url.port);
  }
  const auto colon = text.find(':');
  url.host = ascii::ToLower(text.substr(0, colon));
  if (url.host.empty() || url.host.find_first_of("<>\"\\^`{|}[]@,%") != std::string::npos) {
    return false;
  }
  return colon == text.npos || ParsePort(text.substr(colon + 1), url.port);
}

// RFC 3986, 5.2.4.
std::string WithoutDotSegments(std::string_view path) {
  std::vector<std::string_view> segments;
  bool endsInDirectory = false;
  path.remove_prefix(path.empty() ? 0 : 1);
  while (true) {
    const auto slash = path.find('/');
    const auto segment = path.substr(0, slash);
    endsInDirectory = segment == "." || segment == "..";
    if (segment == "..") {
      if (!segments.empty()) segments.pop_back();
    } else if (segment != ".") {
      segments.push_back(segment);
    }
    if (slash == path.npos) break;
    path.remove_prefix(slash + 1);
  }
  std::string result;
  for (const auto segment : segments) {
    result += '/';
    result += segment;
  }
  if (endsInDirectory || result.empty()) result += '/';
  return result;
}

}  // namespace

std::string Url::Origin() const {
  const bool ipv6 = host.find(':') != std::string::npos;
  return std::string(secure ? "https://" : "http://") + (ipv6 ? "[" + host + "]" : host) + ":" +
         std::to_string(port);
}

std::optional<Url> ParseUrl(std::string_view text) {
  if (HasControlOrBlank(text)) return std::nullopt;
  const std::size_t schemeLength = SchemeLength(text);
  const std::string scheme = ascii::ToLower(text.substr(0, schemeLength));
  if (scheme != "http" && scheme != "https") return std::nullopt;
  text.remove_prefix(schemeLength + 1);
  if (!text.starts_with("//")) return std::nullopt;
  text.remove_prefix(2);

  Url url;
  url.secure = scheme == "https";
  url.port = url.secure ? 443 : 80;
  const std::string_view authority = text.substr(0, text.find_first_of("/?#"));
  text.remove_prefix(authority.size());
  const auto at = authority.rfind('@');
  if (at != authority.npos) url.userInfo = authority.substr(0, at);
  if (url.userInfo.find("%00") != std::string::npos) return std::nullopt;  // libraries stop there
  if (!ParseHostAndPort(at == authority.npos ? authority : authority.substr(at + 1), url)) {
    return std::nullopt;
  }
  const std::string_view target = text.substr(0, text.find('#'));
  url.target = (target.empty() || target.front() != '/' ? "/" : "") + EscapedOutsideAscii(target);
  return url;
}

std::optional<Url> ResolveUrl(const Url& base, std::string_view reference) {
  if (SchemeLength(reference) > 0) return ParseUrl(reference);
  if (reference.starts_with("//")) {
    return ParseUrl(std::string(base.secure ? "https:" : "http:") + std::string(reference));
  }
  if (HasControlOrBlank(reference)) return std::nullopt;
  Url url = base;
  const std::string escaped = EscapedOutsideAscii(reference.substr(0, reference.find('#')));
  const std::string_view relative = escaped;
  const std::string_view path = std::string_view(base.target).substr(0, base.target.find('?'));
  if (relative.empty()) return url;
  if (relative.front() == '?') {
    url.target = std::string(path) + escaped;
    return url;
  }
  const auto query = std::min(relative.find('?'), relative.size());
  std::string merged(relative.substr(0, query));
  if (relative.front() != '/') merged = std::string(path.substr(0, path.rfind('/') + 1)) + merged;
  url.target = WithoutDotSegments(merged) + std::string(relative.substr(query));
  return url;
}

std::string WithoutUserInfo(std::string_view text) {
  std::size_t begin = 0;
  std::string_view authority = text;  // of what is no URL, all may be
  if (ParseUrl(text)) {
    begin = text.find("//") + 2;
    authority = text.substr(0, text.find_first_of("/?#", begin));
  }
  const auto at = authority.rfind('@');
  if (at == authority.npos) return std::string(text);
  return std::string(text.substr(0, begin)) + "***" + std::string(text.substr(at));
}

std::string PercentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned value = 0;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr ==
            text.data() + i + 3) {
      decoded += static_cast<char>(value);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

}  // namespace http
