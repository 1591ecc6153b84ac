#pragma once

#include <memory>
#include <string_view>

#include "tavhost/http/http_body.h"
#include "tavhost/http/http_header.h"

namespace http {

// The encodings that a request allows an answer, and undoing them.
inline constexpr char kAcceptEncoding[] = "Accept-Encoding: gzip, deflate";

class Decoder {
 public:
  // For the values of Content-Encoding, joined by commas; null when they are none that was allowed,
  // or more than one. The body must outlive the decoder.
  static std::unique_ptr<Decoder> For(std::string_view encodings, Body& body);
  virtual ~Decoder() = default;

  // False when the data is broken or the body takes no more.
  virtual bool Append(const char* data, std::size_t length) = 0;
  // The data ended where its encoding says that it does. No data at all is an empty body, whatever
  // its encoding, unless nothing but the end of the connection says so: that can come too early.
  virtual bool IsComplete(BodyEnd end) const = 0;
};

}  // namespace http
