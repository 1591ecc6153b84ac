#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// The header of an answer: its status line and fields, each line ended as it came.
namespace http {

// An answer's header may not be longer than this, with what interim answers and a trailer have.
inline constexpr std::size_t kHeaderLimit = std::size_t{300} << 10;

// The value of the first field of that name, case ignored; empty when there is none.
std::string FirstField(std::string_view header, std::string_view name);
// The values of all of them, joined by `, ` as RFC 9110, 5.3 allows.
std::string JoinedFields(std::string_view header, std::string_view name);

// What tells where a body ends.
enum class BodyEnd : std::uint8_t {
  kNone,    // there is no body
  kLength,  // so many bytes
  kChunks,  // the last chunk
  kClose,   // the end of the connection
};

struct Framing {
  BodyEnd end = BodyEnd::kNone;
  std::uint64_t length = 0;  // when the header tells it, also where no body follows
};

// Empty when the fields that tell the body's length contradict each other, are written in a way
// that others may read differently, or say what nobody can know (RFC 9112, 6.3).
std::optional<Framing> FramingOf(std::string_view header, std::string_view verb, int status);

// Takes the header of an answer line by line, as it comes. Of interim answers nothing is kept, and
// nothing of the trailer that may follow the body: only what stood in front of the body may say
// what the answer is.
class HeaderLines {
 public:
  explicit HeaderLines(std::string& header) : header_(header) {}

  // False from the line on with which it is more than a header may be, or no answer to a request.
  bool Append(std::string_view line);
  // The line that ends the header has come.
  bool IsComplete() const { return isComplete_; }
  int Status() const { return status_; }

 private:
  bool End();

  std::string& header_;
  std::size_t length_ = 0;  // of all lines
  int status_ = 0;
  bool isComplete_ = false;
};

}  // namespace http
