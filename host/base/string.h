#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/export.h"

namespace SV {

// A counted string of bytes; any byte may stand in it, NUL included. Copies share one
// reference-counted buffer, which is copied only when a sharer changes it. Scripts' strings are
// UTF-8, but nothing here depends on it.
//
// Positions and lengths are bytes and count from 0. A string holds at most kMaxLength bytes: what
// would grow past that throws std::length_error and leaves the string as it was. Strings that
// share a buffer belong to one thread.
class TAV_HOST_API String {
 public:
  static constexpr long kMaxLength = 0x7FFFFFFF;

  String() noexcept : buffer_(&empty_.buffer) {}
  String(const char* text);               // up to the first NUL; null counts as empty
  String(const char* data, long length);  // a copy of exactly `length` bytes
  String(const String& other) noexcept : buffer_(other.buffer_) {
    if (buffer_->capacity != 0) ++buffer_->sharers;
  }
  String(String&& other) noexcept : buffer_(other.buffer_) { other.buffer_ = &empty_.buffer; }
  explicit String(int number);   // decimal
  explicit String(long number);  // decimal
  ~String() { Release(); }

  String& operator=(const String& other) noexcept;
  String& operator=(String&& other) noexcept {
    Buffer* const taken = other.buffer_;
    other.buffer_ = buffer_;
    buffer_ = taken;
    return *this;
  }
  String& operator+=(char byte);
  String& operator+=(const String& other);
  // Appends `length` bytes, which may lie inside this string.
  String& Append(const char* data, long length);

  bool operator==(const String& other) const noexcept;
  bool operator==(const char* text) const noexcept;
  bool operator<(const String& other) const noexcept;  // by unsigned bytes

  long Len() const noexcept { return static_cast<long>(buffer_->length); }
  const char* GetStr() const noexcept { return buffer_->Data(); }  // a NUL stands behind the last
  char GetChar(long index) const noexcept;                         // NUL outside the string

  // Makes this a string of `length` bytes that hold anything, and returns them for writing. The
  // pointer is good until the string is next used otherwise.
  char* AllocBuffer(long length);
  // Takes out up to `count` bytes from `from` on; a range that lies outside changes nothing.
  String& Erase(long from, long count);
  // Up to `count` bytes from `from` on; empty when `from` lies outside.
  String Copy(long from, long count) const;
  long Search(const String& text) const noexcept;  // first place of `text`, -1 when absent
  // Pieces between separators: none in an empty text, else one more than there are separators.
  long GetTokenCount(char separator) const noexcept;
  String GetToken(long index, char separator) const;  // empty when there is no such piece
  String& ToLower();                                  // ASCII letters only
  String& ToUpper();

  std::string_view View() const noexcept { return {buffer_->Data(), buffer_->length}; }

 private:
  friend class TextHistory;  // of the host: lets a long text grow although strings share it

  // The head of a buffer; room for `capacity` bytes and a NUL follows it.
  struct Buffer {
    static constexpr std::uint32_t kInHistory = 0x80000000;  // no capacity comes near

    std::uint32_t sharers;
    std::uint32_t length;
    std::uint32_t capacity;  // with kInHistory: known to TextHistory
    std::uint32_t begin;     // bytes cut off at the start

    char* Room() noexcept { return reinterpret_cast<char*>(this + 1); }
    char* Data() noexcept { return Room() + begin; }
    bool IsInHistory() const noexcept { return (capacity & kInHistory) != 0; }
    std::uint32_t Capacity() const noexcept { return capacity & ~kInHistory; }
  };
  // The one buffer of all empty strings: never counted, never changed, never freed.
  struct EmptyBuffer {
    Buffer buffer;
    char nul;
  };
  static EmptyBuffer empty_;

  static Buffer* Allocate(long capacity);
  static void Free(Buffer* buffer) noexcept;
  void Release() noexcept {
    if (buffer_->capacity != 0 && --buffer_->sharers == 0) Free(buffer_);
  }
  // Gives this string a buffer of its own that can hold `capacity` bytes, contents kept.
  void MakeOwn(long capacity);
  // Whether bytes may be put behind the text, or cut off before it, in the buffer as it is.
  bool MayChangeEnds() const noexcept;

  Buffer* buffer_;
};

TAV_HOST_API int h_atoi(const String& text);        // decimal, as C's atoi; clamped to 32 bits
TAV_HOST_API unsigned h_atoui(const String& text);  // decimal; a sign wraps around, as in strtoul

}  // namespace SV
