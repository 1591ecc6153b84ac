#include <array>
#include <cstdint>
#include <cstring>

#include "tavhost/files/base64_codec.h"

namespace base64 {

namespace {

// Two characters for every twelve bits.
using PairTable = std::array<char, std::size_t{2} * 4096>;

constexpr PairTable MakePairs() {
  PairTable pairs{};
  for (std::size_t bits = 0; bits < 4096; ++bits) {
    pairs[2 * bits] = kAlphabet[bits >> 6];
    pairs[2 * bits + 1] = kAlphabet[bits & 63];
  }
  return pairs;
}

constexpr PairTable kPairs = MakePairs();

// Bits that no group of 24 has: one foreign character marks the whole group.
constexpr std::uint32_t kForeign = 0xFF000000;

// The value of a character at each of the four places of a group, already shifted there.
using PlaceTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr PlaceTables MakePlaces() {
  PlaceTables places{};
  for (unsigned place = 0; place < 4; ++place) {
    for (auto& value : places[place]) value = kForeign;
    for (std::uint32_t value = 0; value < 64; ++value) {
      places[place][static_cast<unsigned char>(kAlphabet[value])] = value << (18 - 6 * place);
    }
  }
  return places;
}

constexpr PlaceTables kPlaces = MakePlaces();

std::size_t EncodeGroups(const unsigned char* data, std::size_t length, char* out) {
  std::size_t done = 0;
  for (; length - done >= 3; done += 3, out += 4) {
    const std::size_t bits = static_cast<std::uint32_t>(data[done]) << 16 |
                             static_cast<std::uint32_t>(data[done + 1]) << 8 | data[done + 2];
    std::memcpy(out, &kPairs[2 * (bits >> 12)], 2);
    std::memcpy(out + 2, &kPairs[2 * (bits & 4095)], 2);
  }
  return done;
}

std::size_t DecodeGroups(const char* text, std::size_t length, unsigned char* out) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  std::size_t done = 0;
  for (; length - done >= 4; done += 4, out += 3) {
    const std::uint32_t bits = kPlaces[0][bytes[done]] | kPlaces[1][bytes[done + 1]] |
                               kPlaces[2][bytes[done + 2]] | kPlaces[3][bytes[done + 3]];
    if (bits & kForeign) break;
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
  }
  return done;
}

constexpr Codec kPortable = {EncodeGroups, DecodeGroups};

}  // namespace

const Codec& Portable() { return kPortable; }

}  // namespace base64
