#include "tavhost/ui/table/table_scan.h"

namespace ui::table_scan {

namespace {

constexpr std::uint64_t kLow = 0x0101010101010101;
constexpr std::uint64_t kHigh = 0x8080808080808080;

// The high bit of each byte of `word` that is 0; exact for every byte.
std::uint64_t ZeroBytes(std::uint64_t word) {
  return ~(((word & ~kHigh) + ~kHigh) | word | ~kHigh);
}

// The high bits of eight bytes as the low eight bits, the first byte lowest.
std::uint64_t Gather(std::uint64_t highBits) {
  return ((highBits >> 7) * 0x0102040810204080) >> 56;
}

void ScanPortable(const char* text, std::size_t blocks, const char (&wanted)[3],
                  std::uint64_t* marks) {
  std::uint64_t pattern[3];
  for (int i = 0; i < 3; ++i) pattern[i] = kLow * static_cast<unsigned char>(wanted[i]);
  for (std::size_t block = 0; block < blocks; ++block) {
    std::uint64_t mark = 0;
    for (unsigned part = 0; part < kBlock / 8; ++part, text += 8) {
      // The first byte of the text is to be the lowest, whatever the order in memory.
      std::uint64_t word = 0;
      for (unsigned i = 0; i < 8; ++i) {
        word |= std::uint64_t{static_cast<unsigned char>(text[i])} << (8 * i);
      }
      const std::uint64_t found = ZeroBytes(word ^ pattern[0]) | ZeroBytes(word ^ pattern[1]) |
                                  ZeroBytes(word ^ pattern[2]);
      mark |= Gather(found) << (8 * part);
    }
    marks[block] = mark;
  }
}

}  // namespace

Scan Portable() { return &ScanPortable; }

Scan Best() {
  static const Scan best = Sse2() ? Sse2() : Portable();
  return best;
}

}  // namespace ui::table_scan
