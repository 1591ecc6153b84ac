#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/http/http_body.h"
#include "tavhost/http/http_converter.h"

// From the bytes of an answer to text.
namespace http {

// The value of the charset parameter as sent, without quotes; empty when there is none.
std::string CharsetOf(std::string_view contentType);

// The text of a body, in UTF-8, made while the body comes in: by the charset, else a byte-order
// mark, else as UTF-8 when it is that, else as windows-1252. What the encoding does not allow
// becomes U+FFFD; a byte-order mark is dropped, except by the system's charsets.
class BodyText {
 public:
  BodyText() = default;
  // `expected` is how long the body is said to be; 0: not known.
  BodyText(std::string_view charset, std::uint64_t expected);

  // The next bytes of the body.
  void Append(std::string_view bytes);

  // The text of the whole body, which was given to Append piece by piece. A body that is its own
  // text is only checked on the way, and lends its memory. What could not be known on the way is
  // done now. Throws stop::Stopped when a stop is asked for meanwhile, std::bad_alloc and
  // std::length_error when the text is too long; it can then be asked for again.
  SV::String Finish(const SV::String& body);

 private:
  enum class Way : std::uint8_t {
    kUnknown,    // the first bytes, which may be a byte-order mark, have not all come
    kSame,       // the body is the text as long as it is UTF-8
    kConverted,  // by the converter, as it comes
    kLater,      // by the fallback, once the body is whole
  };

  void Decide();
  void TakeFirst();
  void TakeChecked(std::string_view bytes);
  void ConvertNow(std::string_view bytes);
  SV::String ConvertLater(const SV::String& body) const;

  Way way_ = Way::kUnknown;
  std::string charset_;  // in lower case, empty where it says nothing
  const char* fallback_ = "windows-1252";
  std::uint64_t expected_ = 0;
  std::string first_;     // bytes before the way is known
  std::size_t mark_ = 0;  // length of the byte-order mark
  Utf8Check check_;
  std::unique_ptr<Converter> converter_;
  std::unique_ptr<SV::String> bytes_;  // the converted text; the writer writes to it
  std::unique_ptr<Body> writer_;
  bool full_ = false;  // the text takes no more
};

}  // namespace http
