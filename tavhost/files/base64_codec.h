#pragma once

#include <cstddef>

// The two ways to do the long middle part of base64: with 256-bit vectors and, giving the same
// bytes, without. What they leave over is done byte by byte.
namespace base64 {

struct Codec {
  // Encodes groups of three bytes, perhaps not up to the last; returns how many bytes it took, a
  // multiple of three.
  std::size_t (*encode)(const unsigned char* data, std::size_t length, char* out);
  // Decodes groups of four characters, at most up to the first that holds anything foreign to the
  // alphabet; returns how many characters it took, a multiple of four. May write up to
  // kDecodeSlack bytes behind what it decoded.
  std::size_t (*decode)(const char* text, std::size_t length, unsigned char* out);
};

inline constexpr std::size_t kDecodeSlack = 8;

inline constexpr char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

const Codec& Portable();
const Codec* Avx2();  // null when the processor has none
const Codec& Best();

// The whole of it; `out` holds EncodedLength(length) bytes, for decoding length / 4 * 3 + 3 +
// kDecodeSlack.
constexpr std::size_t EncodedLength(std::size_t length) { return (length + 2) / 3 * 4; }
void Encode(const Codec& codec, const char* data, std::size_t length, char* out);

struct Decoded {
  bool whole;          // the text was base64 to its end
  std::size_t length;  // bytes written, up to the fault when there was one
};
Decoded Decode(const Codec& codec, const char* text, std::size_t length, char* out);

// Asks the system for huge pages under a large buffer that is about to be filled.
void ExpectFilled(void* memory, std::size_t bytes);

}  // namespace base64
