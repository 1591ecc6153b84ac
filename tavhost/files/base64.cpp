#include "host/files/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>

#include "host/base/string.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/base64_codec.h"

namespace base64 {

namespace {

// Bytes between two looks at the stop request: a few milliseconds of work, whole groups.
constexpr std::size_t kEncodedAtOnce = std::size_t{3} << 20;
constexpr std::size_t kDecodedAtOnce = std::size_t{4} << 20;

// What kValues holds for bytes that are no digits of base64.
constexpr int kForeign = -1;
constexpr int kIgnored = -2;
constexpr int kPadding = -3;

constexpr std::array<std::int8_t, 256> MakeValues() {
  std::array<std::int8_t, 256> values{};
  for (auto& value : values) value = kForeign;
  for (int value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(kAlphabet[value])] = static_cast<std::int8_t>(value);
  }
  values['\r'] = values['\n'] = values[' '] = kIgnored;
  values['='] = kPadding;
  return values;
}

constexpr std::array<std::int8_t, 256> kValues = MakeValues();

// The characters of one group of four as they come, byte by byte.
class Group {
 public:
  bool IsEmpty() const { return count_ == 0; }
  bool HasPadding() const { return padding_ > 0; }

  // Takes a character's value or a padding; false when it cannot stand here.
  bool Take(int value) {
    if (value == kPadding) {
      if (count_ + padding_ >= 4 || count_ < 2) return false;
      ++padding_;
      return true;
    }
    if (padding_ > 0) return false;
    bits_ = bits_ << 6 | static_cast<std::uint32_t>(value);
    ++count_;
    return true;
  }

  bool IsWhole() const { return count_ + padding_ == 4; }
  // Writes the bytes that are complete and starts anew; returns how many.
  std::size_t Flush(char* out) {
    const std::uint32_t bits = bits_ << (6 * (4 - count_));
    const std::size_t bytes = count_ == 0 ? 0 : count_ * 6 / 8;
    for (std::size_t i = 0; i < bytes; ++i) out[i] = static_cast<char>(bits >> (16 - 8 * i));
    *this = Group();
    return bytes;
  }

 private:
  std::uint32_t bits_ = 0;
  unsigned count_ = 0;
  unsigned padding_ = 0;
};

}  // namespace

const Codec& Best() {
  static const Codec& best = Avx2() ? *Avx2() : Portable();
  return best;
}

void Encode(const Codec& codec, const char* data, std::size_t length, char* out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  std::size_t done = 0;
  base::LongWork work("Encoding");
  while (length - done >= 3) {
    work.At(done, length);
    const std::size_t end = done + std::min(length - done, kEncodedAtOnce);
    done += codec.encode(bytes + done, end - done, out + done / 3 * 4);
    done += Portable().encode(bytes + done, end - done, out + done / 3 * 4);
  }
  out += done / 3 * 4;
  const std::size_t left = length - done;
  if (left == 0) return;
  const std::uint32_t bits = static_cast<std::uint32_t>(bytes[done]) << 16 |
                             (left == 2 ? static_cast<std::uint32_t>(bytes[done + 1]) << 8 : 0);
  out[0] = kAlphabet[bits >> 18];
  out[1] = kAlphabet[bits >> 12 & 63];
  out[2] = left == 2 ? kAlphabet[bits >> 6 & 63] : '=';
  out[3] = '=';
}

Decoded Decode(const Codec& codec, const char* text, std::size_t length, char* out) {
  std::size_t read = 0;
  std::size_t written = 0;
  bool ended = false;  // padding has been read
  Group group;
  base::LongWork work("Decoding");
  std::size_t nextLook = 0;
  while (read < length) {
    if (read >= nextLook) {
      work.At(read, length);
      nextLook = read + kDecodedAtOnce;
    }
    if (group.IsEmpty() && !ended) {
      const std::size_t taken = codec.decode(text + read, std::min(length - read, kDecodedAtOnce),
                                             reinterpret_cast<unsigned char*>(out) + written);
      read += taken;
      written += taken / 4 * 3;
      if (read == length) break;
    }
    // Up to the next whole group byte by byte: here stand line breaks, padding and faults.
    do {
      const std::int8_t value = kValues[static_cast<unsigned char>(text[read])];
      if (value != kIgnored) {
        if (value == kForeign || ended || !group.Take(value)) {
          return {false, written + group.Flush(out + written)};
        }
        if (group.IsWhole()) {
          ended = group.HasPadding();
          written += group.Flush(out + written);
        }
      }
      ++read;
    } while (read < length && !group.IsEmpty());
  }
  if (!group.IsEmpty()) return {false, written + group.Flush(out + written)};
  return {true, written};
}

namespace {

struct Free {
  void operator()(char* memory) const { ::operator delete(memory); }
};
// Until it is filled: a stop in between frees it.
using Buffer = std::unique_ptr<char, Free>;

// Want of memory is no verdict on the text: it is thrown, and false stays what is too large or no
// base64.
Buffer NewBuffer(std::size_t bytes) {
  void* const memory = ::operator new(bytes);
  ExpectFilled(memory, bytes);
  return Buffer(static_cast<char*>(memory));
}

bool NewEncoded(const char* data, unsigned long length, char*& buffer, unsigned long& newLength) {
  buffer = nullptr;
  newLength = 0;
  constexpr std::size_t kLongest = SV::String::kMaxLength / 4 * 3;
  if (length > kLongest) return false;
  const std::size_t encoded = EncodedLength(length);
  Buffer filled = NewBuffer(encoded + 1);
  Encode(Best(), data, length, filled.get());
  buffer = filled.release();
  buffer[encoded] = '\0';
  newLength = static_cast<unsigned long>(encoded);
  return true;
}

bool NewDecoded(const char* data, unsigned long length, char*& buffer, unsigned long& newLength) {
  buffer = nullptr;
  newLength = 0;
  Buffer filled = NewBuffer(length / 4 * std::size_t{3} + 3 + kDecodeSlack + 1);
  const Decoded decoded = Decode(Best(), data, length, filled.get());
  buffer = filled.release();
  buffer[decoded.length] = '\0';
  newLength = static_cast<unsigned long>(decoded.length);
  return decoded.whole;
}

}  // namespace

}  // namespace base64

bool Tav_NewBase64Encode(const char* data, unsigned long length, char*& buffer,
                         unsigned long& newLength) {
  trace::Call call("Tav_NewBase64Encode", std::string_view(data, length), length);
  return call.Result(base64::NewEncoded(data, length, buffer, newLength));
}

bool Tav_NewBase64Decode(const char* data, unsigned long length, char*& buffer,
                         unsigned long& newLength) {
  trace::Call call("Tav_NewBase64Decode", std::string_view(data, length), length);
  return call.Result(base64::NewDecoded(data, length, buffer, newLength));
}
