#include "tavhost/ui/table/table_scan.h"

#if defined(__SSE2__)

#include <emmintrin.h>

namespace ui::table_scan {

namespace {

void ScanSse2(const char* text, std::size_t blocks, const char (&wanted)[3], std::uint64_t* marks) {
  const __m128i first = _mm_set1_epi8(wanted[0]);
  const __m128i second = _mm_set1_epi8(wanted[1]);
  const __m128i third = _mm_set1_epi8(wanted[2]);
  for (std::size_t block = 0; block < blocks; ++block) {
    std::uint64_t mark = 0;
    for (unsigned part = 0; part < kBlock; part += 16, text += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
      const __m128i found =
          _mm_or_si128(_mm_cmpeq_epi8(bytes, first),
                       _mm_or_si128(_mm_cmpeq_epi8(bytes, second), _mm_cmpeq_epi8(bytes, third)));
      mark |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(found))} << part;
    }
    marks[block] = mark;
  }
}

}  // namespace

Scan Sse2() { return &ScanSse2; }

}  // namespace ui::table_scan

#else

namespace ui::table_scan {

Scan Sse2() { return nullptr; }

}  // namespace ui::table_scan

#endif
