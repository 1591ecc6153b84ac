#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "tavhost/http/http_converter.h"

namespace http {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// By the C library.
class Iconv final : public Converter {
 public:
  explicit Iconv(iconv_t converter) : converter_(converter) {}
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  ~Iconv() override { iconv_close(converter_); }

  bool Append(std::string_view bytes, Body& text) override {
    if (rest_.empty()) return Convert(bytes, text);
    std::string joined = std::move(rest_);
    rest_.clear();
    joined.append(bytes);
    return Convert(joined, text);
  }

  bool Finish(Body& text) override {
    if (!rest_.empty() && !text.Append(kReplacement.data(), kReplacement.size())) return false;
    // What it kept back because the next character might have changed it.
    char* out = piece_.data();
    std::size_t room = piece_.size();
    iconv(converter_, nullptr, nullptr, &out, &room);
    return text.Append(piece_.data(), piece_.size() - room);
  }

 private:
  bool Convert(std::string_view bytes, Body& text) {
    char* in = const_cast<char*>(bytes.data());  // it only reads them
    std::size_t left = bytes.size();
    while (left > 0) {
      char* out = piece_.data();
      std::size_t room = piece_.size();
      const std::size_t done = iconv(converter_, &in, &left, &out, &room);
      const int error = done == static_cast<std::size_t>(-1) ? errno : 0;
      if (!text.Append(piece_.data(), piece_.size() - room)) return false;
      if (error == EINVAL) {  // the end of a character is still to come
        rest_.assign(in, left);
        return true;
      }
      if (error != EILSEQ) continue;
      if (!text.Append(kReplacement.data(), kReplacement.size())) return false;
      ++in;
      --left;
    }
    return true;
  }

  iconv_t converter_;
  std::string rest_;  // the beginning of a character
  std::array<char, 65536> piece_;
};

}  // namespace

std::unique_ptr<Converter> MakeSystemConverter(const std::string& charset) {
  // Only names: a slash would give iconv options.
  if (charset.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789._:-") != charset.npos) {
    return nullptr;
  }
  const iconv_t converter = iconv_open("UTF-8", charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) return nullptr;
  return std::make_unique<Iconv>(converter);
}

}  // namespace http
