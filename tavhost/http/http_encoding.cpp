#include "tavhost/http/http_encoding.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <new>
#include <string>

#include "tavhost/base/ascii.h"
#include "tavhost/base/stop.h"

namespace http {

namespace {

class Identity final : public Decoder {
 public:
  explicit Identity(Body& body) : body_(body) {}
  bool Append(const char* data, std::size_t length) override { return body_.Append(data, length); }
  bool IsComplete(BodyEnd) const override { return true; }

 private:
  Body& body_;
};

// gzip, and both of what is called deflate: with zlib's frame, as it should be, and bare.
class Inflater final : public Decoder {
 public:
  Inflater(Body& body, bool gzip) : body_(body), gzip_(gzip) {}
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  ~Inflater() override {
    if (started_) inflateEnd(&stream_);
  }

  bool Append(const char* data, std::size_t length) override {
    if (length == 0) return true;
    if (!started_ && !Start(static_cast<unsigned char>(*data))) return false;
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data));
    stream_.avail_in = static_cast<uInt>(length);
    do {
      if (stop::IsRequested()) return false;  // little may unpack to very much
      // Only gzip may have further members.
      if (ended_ && (!gzip_ || inflateReset(&stream_) != Z_OK)) return false;
      stream_.next_out = reinterpret_cast<Bytef*>(piece_.data());
      stream_.avail_out = static_cast<uInt>(piece_.size());
      const int result = inflate(&stream_, Z_NO_FLUSH);
      if (result == Z_MEM_ERROR) throw std::bad_alloc();
      if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return false;
      ended_ = result == Z_STREAM_END;
      if (!body_.Append(piece_.data(), piece_.size() - stream_.avail_out)) return false;
    } while (stream_.avail_in > 0 || (stream_.avail_out == 0 && !ended_));
    return true;
  }

  bool IsComplete(BodyEnd end) const override {
    return ended_ || (!started_ && end != BodyEnd::kClose);
  }

 private:
  bool Start(unsigned char first) {
    constexpr int kGzip = MAX_WBITS + 16;
    const bool framed = (first & 0x0F) == Z_DEFLATED && (first >> 4) <= 7;
    const int bits = gzip_ ? kGzip : framed ? MAX_WBITS : -MAX_WBITS;
    const int result = inflateInit2(&stream_, bits);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    started_ = result == Z_OK;
    return started_;
  }

  Body& body_;
  bool gzip_;
  z_stream stream_{};
  std::array<char, std::size_t{64} << 10> piece_;
  bool started_ = false;
  bool ended_ = false;
};

// The names joined by commas, in lower case, without those that encode nothing.
std::string WithoutIdentity(std::string_view encodings) {
  const std::string lower = ascii::ToLower(encodings);
  std::string_view left = lower;
  std::string rest;
  while (!left.empty()) {
    std::string_view name = left.substr(0, left.find(','));
    left.remove_prefix(std::min(name.size() + 1, left.size()));
    while (!name.empty() && ascii::IsSpace(name.front())) name.remove_prefix(1);
    while (!name.empty() && ascii::IsSpace(name.back())) name.remove_suffix(1);
    if (!name.empty() && name != "identity") rest.append(rest.empty() ? "" : ",").append(name);
  }
  return rest;
}

}  // namespace

std::unique_ptr<Decoder> Decoder::For(std::string_view encodings, Body& body) {
  const std::string name = WithoutIdentity(encodings);
  if (name.empty()) return std::make_unique<Identity>(body);
  if (name == "gzip" || name == "x-gzip") return std::make_unique<Inflater>(body, true);
  if (name == "deflate") return std::make_unique<Inflater>(body, false);
  return nullptr;
}

}  // namespace http
