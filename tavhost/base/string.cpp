#include "host/base/string.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

#include "tavhost/base/ascii.h"
#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/text_history.h"

namespace SV {

constinit String::EmptyBuffer String::empty_ = {{1, 0, 0, 0}, '\0'};

namespace {

[[noreturn, gnu::cold]] void ThrowTooLong() {
  throw std::length_error("string longer than 2147483647 bytes");
}

inline long LengthOf(const char* text) {
  const std::size_t length = text ? std::strlen(text) : 0;
  if (length > std::size_t{String::kMaxLength}) ThrowTooLong();
  return static_cast<long>(length);
}

constexpr std::size_t kHeader = 4 * sizeof(std::uint32_t);  // of a buffer, before its text

// Bytes left free in front of a long text's buffer, so that the text begins where a cache line
// does: the system takes more than twice as long to fill a text that does not. For short texts the
// bytes would be wasted.
constexpr std::size_t kLongText = 4096;
constexpr std::size_t Gap(std::size_t capacity) {
  constexpr std::size_t kCacheLine = 64;
  return capacity < kLongText ? 0 : kCacheLine - kHeader;
}

constexpr std::size_t BlockSize(std::size_t capacity) {
  return Gap(capacity) + kHeader + capacity + 1;
}

// As memcpy. Most texts are short, and the call would take longer than the copying.
inline void CopyText(char* to, const char* from, std::size_t length) {
  // Copies the first and the last word, which overlap when the text is shorter than two; that
  // spares a loop. Both are read before either is written.
  const auto copyEnds = [&]<typename Word>(Word) {
    Word first;
    Word last;
    std::memcpy(&first, from, sizeof(Word));
    std::memcpy(&last, from + length - sizeof(Word), sizeof(Word));
    std::memcpy(to, &first, sizeof(Word));
    std::memcpy(to + length - sizeof(Word), &last, sizeof(Word));
  };
  if (length > 16) {
    std::memcpy(to, from, length);
  } else if (length >= 8) {
    copyEnds(std::uint64_t{});
  } else if (length >= 4) {
    copyEnds(std::uint32_t{});
  } else if (length > 0) {
    to[0] = from[0];
    to[length / 2] = from[length / 2];
    to[length - 1] = from[length - 1];
  }
}

}  // namespace

String::Buffer* String::Allocate(long capacity) {
  static_assert(sizeof(Buffer) == kHeader);
  if (capacity == 0) return &empty_.buffer;
  const auto room = static_cast<std::size_t>(capacity);
  // Noted, since a command that keeps what it can of its work may not let the refusal through.
  char* block = static_cast<char*>(
      refused_memory::Noting([room] { return buffer_memory::Allocate(BlockSize(room)); }));
  if (room >= kLongText) [[unlikely]]
    block += Gap(room);
  auto* buffer = reinterpret_cast<Buffer*>(block);
  *buffer = {1, 0, static_cast<std::uint32_t>(capacity), 0};
  buffer->Room()[0] = '\0';
  return buffer;
}

void String::Free(Buffer* buffer) noexcept {
  if (buffer->IsInHistory()) TextHistory::Forget(buffer);
  const std::size_t capacity = buffer->capacity;
  if (capacity < kLongText) [[likely]]
    return buffer_memory::Free(buffer, kHeader + capacity + 1);
  buffer_memory::Free(reinterpret_cast<char*>(buffer) - Gap(capacity), BlockSize(capacity));
}

String::String(const char* text) : String(text, LengthOf(text)) {}

String::String(const char* data, long length) {
  if (std::int64_t{length} > kMaxLength) ThrowTooLong();
  buffer_ = Allocate(std::max(length, 0L));
  if (length <= 0) return;
  char* const room = buffer_->Room();
  CopyText(room, data, static_cast<std::size_t>(length));
  room[length] = '\0';
  buffer_->length = static_cast<std::uint32_t>(length);
}

String::String(int number) : String(static_cast<long>(number)) {}

String::String(long number) {
  char digits[24];
  const int length = std::snprintf(digits, sizeof digits, "%ld", number);
  buffer_ = Allocate(length);
  std::memcpy(buffer_->Data(), digits, static_cast<std::size_t>(length) + 1);
  buffer_->length = static_cast<std::uint32_t>(length);
}

// Of itself too: the other's buffer is held before this one's is let go.
String& String::operator=(const String& other) noexcept {  // NOLINT(*-unhandled-self-assignment)
  if (other.buffer_->capacity != 0) ++other.buffer_->sharers;
  Release();
  buffer_ = other.buffer_;
  return *this;
}

void String::MakeOwn(long capacity) {
  if (buffer_->sharers == 1 && !buffer_->IsInHistory() &&
      capacity <= static_cast<long>(buffer_->capacity - buffer_->begin)) {
    if (buffer_->capacity != 0 || capacity == 0) return;
  }
  Buffer* own = Allocate(std::max(capacity, Len()));
  if (Len() > 0) {
    std::memcpy(own->Data(), buffer_->Data(), buffer_->length + std::size_t{1});
    own->length = buffer_->length;
  }
  Release();
  buffer_ = own;
}

bool String::MayChangeEnds() const noexcept {
  return buffer_->sharers == 1 || (buffer_->IsInHistory() && TextHistory::MayChangeEnds(buffer_));
}

String& String::operator+=(char byte) { return Append(&byte, 1); }

String& String::operator+=(const String& other) {
  if (Len() == 0 && !buffer_->IsInHistory()) return *this = other;
  return Append(other.GetStr(), other.Len());
}

String& String::Append(const char* data, long length) {
  if (length <= 0) return *this;
  const long oldLength = Len();
  const std::int64_t wanted = std::int64_t{oldLength} + length;  // a long has 32 bits on Windows
  if (wanted > kMaxLength) ThrowTooLong();
  if (buffer_->begin + wanted <= std::int64_t{buffer_->Capacity()} && MayChangeEnds()) {
    std::memmove(buffer_->Data() + oldLength, data, static_cast<std::size_t>(length));
  } else {
    // Half as much again, so that a text grown piece by piece costs linear time; small ones double.
    // `data` may lie in the old buffer, which is therefore released last.
    const auto roomy = static_cast<long>(
        std::min<std::int64_t>(wanted + std::max(wanted / 2, std::int64_t{15}), kMaxLength));
    Buffer* own = Allocate(roomy);
    std::memcpy(own->Data(), buffer_->Data(), static_cast<std::size_t>(oldLength));
    std::memcpy(own->Data() + oldLength, data, static_cast<std::size_t>(length));
    if (buffer_->IsInHistory()) {
      try {
        TextHistory::Follow(buffer_, own);
      } catch (const std::bad_alloc&) {
        Free(own);
        throw;
      }
    }
    Release();
    buffer_ = own;
  }
  buffer_->length = static_cast<std::uint32_t>(wanted);
  buffer_->Data()[wanted] = '\0';
  return *this;
}

bool String::operator==(const String& other) const noexcept {
  return buffer_ == other.buffer_ || View() == other.View();
}

bool String::operator==(const char* text) const noexcept {
  return View() == std::string_view(text ? text : "");
}

bool String::operator<(const String& other) const noexcept { return View() < other.View(); }

char String::GetChar(long index) const noexcept {
  return index >= 0 && index < Len() ? buffer_->Data()[index] : '\0';
}

char* String::AllocBuffer(long length) {
  if (std::int64_t{length} > kMaxLength) ThrowTooLong();
  Buffer* own = Allocate(std::max(length, 0L));
  Release();
  buffer_ = own;
  if (length > 0) {
    own->length = static_cast<std::uint32_t>(length);
    own->Data()[length] = '\0';
  }
  return own->Data();
}

String& String::Erase(long from, long count) {
  const long length = Len();
  if (from < 0 || from >= length || count <= 0) return *this;
  count = std::min(count, length - from);
  // The text's start is cut off without moving a byte: it begins further on in its buffer.
  if (from == 0 && MayChangeEnds()) {
    buffer_->begin += static_cast<std::uint32_t>(count);
    buffer_->length -= static_cast<std::uint32_t>(count);
    if (buffer_->length == 0 && !buffer_->IsInHistory()) AllocBuffer(0);
    return *this;
  }
  MakeOwn(length);
  char* data = buffer_->Data();
  std::memmove(data + from, data + from + count,
               static_cast<std::size_t>(length - from - count) + 1);
  buffer_->length = static_cast<std::uint32_t>(length - count);
  return *this;
}

String String::Copy(long from, long count) const {
  const long length = Len();
  if (from < 0 || from >= length || count <= 0) return String();
  if (from == 0 && count >= length) return *this;
  return String(GetStr() + from, std::min(count, length - from));
}

long String::Search(const String& text) const noexcept {
  const auto place = View().find(text.View());
  return place == std::string_view::npos ? -1 : static_cast<long>(place);
}

long String::GetTokenCount(char separator) const noexcept {
  if (Len() == 0) return 0;
  const auto view = View();
  return static_cast<long>(std::count(view.begin(), view.end(), separator)) + 1;
}

String String::GetToken(long index, char separator) const {
  std::string_view rest = View();
  if (index < 0 || rest.empty()) return String();
  for (; index > 0; --index) {
    const auto end = rest.find(separator);
    if (end == std::string_view::npos) return String();
    rest.remove_prefix(end + 1);
  }
  const auto piece = rest.substr(0, rest.find(separator));
  return base::StringOf(piece);
}

String& String::ToLower() {
  MakeOwn(Len());
  for (char* byte = buffer_->Data(); byte != buffer_->Data() + Len(); ++byte) {
    *byte = ascii::ToLower(*byte);
  }
  return *this;
}

String& String::ToUpper() {
  MakeOwn(Len());
  for (char* byte = buffer_->Data(); byte != buffer_->Data() + Len(); ++byte) {
    *byte = ascii::ToUpper(*byte);
  }
  return *this;
}

namespace {

// The number at the start of a text. Its magnitude stops at 2^33, beyond every result, so that no
// run of digits can overflow.
struct DecimalPrefix {
  bool negative = false;
  std::uint64_t magnitude = 0;
};

DecimalPrefix ReadDecimalPrefix(std::string_view text) {
  DecimalPrefix result;
  while (!text.empty() && ascii::IsSpace(text.front())) text.remove_prefix(1);
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    result.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  for (char digit : text) {
    if (!ascii::IsDigit(digit)) break;
    result.magnitude = std::min<std::uint64_t>(
        result.magnitude * 10 + static_cast<unsigned>(digit - '0'), std::uint64_t{1} << 33);
  }
  return result;
}

}  // namespace

int h_atoi(const String& text) {
  const DecimalPrefix prefix = ReadDecimalPrefix(text.View());
  const auto value = static_cast<std::int64_t>(prefix.magnitude);
  return static_cast<int>(std::clamp<std::int64_t>(prefix.negative ? -value : value,
                                                   std::numeric_limits<std::int32_t>::min(),
                                                   std::numeric_limits<std::int32_t>::max()));
}

unsigned h_atoui(const String& text) {
  const DecimalPrefix prefix = ReadDecimalPrefix(text.View());
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (prefix.magnitude > kMax) return static_cast<unsigned>(kMax);
  const auto value = static_cast<std::uint32_t>(prefix.magnitude);
  return prefix.negative ? 0u - value : value;
}

}  // namespace SV
