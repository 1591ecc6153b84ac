#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tavhost/http/http_converter.h"
#include "tavhost/http/http_table_converter.h"

namespace http {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

char* PutReplacement(char* out) {
  std::memcpy(out, kReplacement.data(), kReplacement.size());
  return out + kReplacement.size();
}

// A converter of the C library.
class Handle {
 public:
  explicit Handle(const std::string& charset) : converter_(iconv_open("UTF-8", charset.c_str())) {}
  Handle(Handle&& other) noexcept : converter_(std::exchange(other.converter_, None())) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle& operator=(Handle&&) = delete;
  ~Handle() {
    if (IsOpen()) iconv_close(converter_);
  }

  bool IsOpen() const { return converter_ != None(); }
  iconv_t Get() const { return converter_; }

 private:
  static iconv_t None() { return reinterpret_cast<iconv_t>(-1); }

  iconv_t converter_;
};

class Iconv final : public Converter {
 public:
  explicit Iconv(Handle handle) : handle_(std::move(handle)) {}

  std::size_t RoomFor(std::size_t bytes) const override {
    constexpr std::size_t kMostOfAByte = 12;  // some stand for several characters
    return (rest_.size() + bytes + 2) * kMostOfAByte;
  }

  char* Append(std::string_view bytes, char* out) override {
    std::size_t room = RoomFor(bytes.size());
    if (rest_.empty()) return Convert(bytes, out, room);
    std::string joined = std::exchange(rest_, {});
    joined.append(bytes);
    return Convert(joined, out, room);
  }

  char* Finish(char* out) override {
    std::size_t room = RoomFor(0);
    if (!rest_.empty()) {
      out = PutReplacement(out);
      room -= kReplacement.size();
    }
    // What it kept back because the next character might have changed it.
    iconv(handle_.Get(), nullptr, nullptr, &out, &room);
    return out;
  }

 private:
  char* Convert(std::string_view bytes, char* out, std::size_t room) {
    char* in = const_cast<char*>(bytes.data());  // it only reads them
    std::size_t left = bytes.size();
    while (left > 0) {
      if (iconv(handle_.Get(), &in, &left, &out, &room) != static_cast<std::size_t>(-1)) continue;
      if (errno == EINVAL) {  // the end of a character is still to come
        rest_.assign(in, left);
        return out;
      }
      if (errno != EILSEQ || room < kReplacement.size()) throw std::length_error("text too long");
      out = PutReplacement(out);
      room -= kReplacement.size();
      ++in;
      --left;
    }
    return out;
  }

  Handle handle_;
  std::string rest_;  // the beginning of a character
};

// What the C library makes of one byte, or two: a character, nothing, or (of one byte) that another
// has to follow. Empty when it is none of these.
struct Converted {
  bool isSimple = true;
  Character character;
};

Converted Convert(const Handle& handle, std::string_view bytes) {
  std::array<char, 16> out;
  char* in = const_cast<char*>(bytes.data());
  std::size_t left = bytes.size();
  char* end = out.data();
  std::size_t room = out.size();
  const std::size_t done = iconv(handle.Get(), &in, &left, &end, &room);
  const int error = done == static_cast<std::size_t>(-1) ? errno : 0;
  const auto length = static_cast<std::size_t>(end - out.data());
  // Back to the beginning, with what it kept back.
  char* const before = end;
  iconv(handle.Get(), nullptr, nullptr, &end, &room);
  if (end != before) return {false, {}};
  if (error == EILSEQ && length == 0) return {};
  if (error == EINVAL && length == 0 && bytes.size() == 1) return {true, Character::Lead()};
  if (error != 0 || length == 0 || length > Character::kLongest) return {false, {}};
  return {true, Character({out.data(), length})};
}

// Null when the charset has states, or characters of more bytes than two.
std::unique_ptr<CharacterTable> MakeTable(const Handle& handle) {
  auto table = std::make_unique<CharacterTable>();
  constexpr unsigned kBytes = 256;
  for (unsigned first = 0; first < kBytes; ++first) {
    const char one = static_cast<char>(first);
    const Converted single = Convert(handle, {&one, 1});
    if (!single.isSimple) return nullptr;
    table->single[first] = single.character;
    if (!single.character.IsLead()) continue;
    if (table->pairs.empty()) table->pairs.resize(std::size_t{kBytes} * kBytes);
    for (unsigned second = 0; second < kBytes; ++second) {
      const char two[] = {one, static_cast<char>(second)};
      const Converted pair = Convert(handle, {two, 2});
      if (!pair.isSimple) return nullptr;
      table->Pair(static_cast<unsigned char>(first), static_cast<unsigned char>(second)) =
          pair.character;
    }
  }
  return table;
}

}  // namespace

std::unique_ptr<Converter> MakeSystemConverter(const std::string& charset, std::uint64_t bytes) {
  // So much text that making a table pays: that takes some milliseconds, and saves most of the
  // time.
  constexpr std::uint64_t kTableFrom = std::uint64_t{1} << 20;
  // Only names: a slash would give iconv options.
  if (charset.empty() ||
      charset.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789._:-") != charset.npos) {
    return nullptr;
  }
  Handle handle(charset);
  if (!handle.IsOpen()) return nullptr;
  if (bytes >= kTableFrom) {
    if (auto table = MakeTable(handle)) return MakeTableConverter(std::move(table));
  }
  return std::make_unique<Iconv>(Handle(charset));
}

}  // namespace http
