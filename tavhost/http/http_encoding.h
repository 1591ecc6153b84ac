#pragma once

#include <memory>
#include <string_view>

#include "tavhost/http/http_body.h"

namespace http {

// The encodings that a request allows an answer, and undoing them.
inline constexpr char kAcceptEncoding[] = "Accept-Encoding: gzip, deflate";

class Decoder {
 public:
  // For the value of Content-Encoding; null when it is none that was allowed. The body must
  // outlive the decoder.
  static std::unique_ptr<Decoder> For(std::string_view encoding, Body& body);
  virtual ~Decoder() = default;

  // False when the data is broken or the body takes no more.
  virtual bool Append(const char* data, std::size_t length) = 0;
  // The data ended where its encoding says that it does.
  virtual bool IsComplete() const = 0;
};

}  // namespace http
