#pragma once

#include <utility>
// After <utility>, which Asio needs and does not include itself.
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace script::service {

// What a request may take. Generous for any client that means well; together with the number of
// connections they bound the memory that others can make the program spend.
inline constexpr std::size_t kHeaderLimit = 0x4000;  // bytes, the empty line included: 16 KiB
inline constexpr std::size_t kFieldLimit = 100;      // of the header
inline constexpr std::size_t kBodyLimit = 0x800000;  // bytes: 8 MiB

// Requests out of the bytes of one connection, one after the other. Knows no socket.
class RequestReader {
 public:
  using Request = boost::beast::http::request<boost::beast::http::string_body>;
  enum class Progress : std::uint8_t {
    kNeedsMore,
    kHasHeader,  // told once a request, before anything of its body is looked at
    kIsComplete,
    kHeaderTooLong,
    kBodyTooLong,  // its header can be looked at
    kMalformed,
  };

  RequestReader() { Begin(); }

  // Begins the next request. What came behind the one before is its beginning.
  void Begin();
  void Add(std::string_view bytes) { pending_.append(bytes); }
  Progress Read();

  // The request as far as it has been read.
  Request& Get() { return parser_->get(); }
  // Whether anything of it has come.
  bool HasBegun() const { return hasHeader_ || !pending_.empty(); }
  std::size_t PendingBytes() const { return pending_.size(); }

 private:
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  void SkipEmptyLines();
  Progress ReadHeader();
  Progress ReadBody();

  std::optional<Parser> parser_;
  std::string pending_;      // not parsed yet
  std::size_t scanned_ = 0;  // of these, known to hold no end of the header
  bool hasHeader_ = false;
};

}  // namespace script::service
