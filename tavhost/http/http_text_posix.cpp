#include <iconv.h>

#include <cerrno>

#include "tavhost/http/http_text.h"

namespace http {

std::optional<std::u16string> DecodeWithSystem(std::string_view bytes, const std::string& charset) {
  // Only names: a slash would give iconv options.
  if (charset.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789._:-") != charset.npos) {
    return std::nullopt;
  }
  iconv_t converter = iconv_open("UTF-16LE", charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::u16string text;
  char16_t piece[1024];
  std::string source(bytes);  // iconv wants bytes it could write to
  char* in = source.data();
  std::size_t left = source.size();
  while (left > 0) {
    char* out = reinterpret_cast<char*>(piece);
    std::size_t room = sizeof piece;
    const std::size_t done = iconv(converter, &in, &left, &out, &room);
    text.append(piece, (sizeof piece - room) / sizeof(char16_t));
    if (done != static_cast<std::size_t>(-1) || errno == E2BIG) continue;
    text += u'\xFFFD';  // not allowed, or cut off at the end
    if (errno == EINVAL) break;
    ++in;
    --left;
  }
  iconv_close(converter);
  return text;
}

}  // namespace http
