#include "tavhost/files/base64_codec.h"

#if defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

#define TAV_AVX2 __attribute__((target("avx2")))

namespace base64 {

namespace {

// A step of encoding turns 24 bytes into 32 characters: 12 bytes in each half of a vector. A half
// is loaded with 16 bytes, of which the last 4 do not count, so that a step reads 28 bytes in all.
constexpr std::size_t kEncodeRead = 28;
constexpr std::size_t kEncodeStep = 24;
constexpr std::size_t kDecodeStep = 32;

// Each group of three bytes is spread over four, from which two multiplications, one for every
// second character, shift six bits into a byte each. A lookup then gives what to add to a six-bit
// value to make it its character.
TAV_AVX2 std::size_t EncodeBlocks(const unsigned char* data, std::size_t length, char* out) {
  const __m256i spread = _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                          1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  // What to add to a six-bit value: by class, which is 0 for A-Z, 1 for a-z, 2 to 11 for the
  // digits, 12 for + and 13 for /.
  const __m256i offsets =
      _mm256_setr_epi8(65, 71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 0, 0,  //
                       65, 71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 0, 0);
  std::size_t done = 0;
  for (; length - done >= kEncodeRead; done += kEncodeStep, out += kDecodeStep) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + done));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + done + 12));
    const __m256i bytes = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), spread);
    const __m256i odd = _mm256_mulhi_epu16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x0FC0FC00)),
                                           _mm256_set1_epi32(0x04000040));
    const __m256i even = _mm256_mullo_epi16(_mm256_and_si256(bytes, _mm256_set1_epi32(0x003F03F0)),
                                            _mm256_set1_epi32(0x01000010));
    const __m256i values = _mm256_or_si256(odd, even);
    const __m256i classes = _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                            _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, classes)));
  }
  return done;
}

// Two lookups, by the upper and the lower four bits of each character, tell whether all 32 belong
// to the alphabet; another gives what to add to a character to make it its six bits. Two
// multiplications, whose neighbouring products are added, join four such values to 24 bits, and a
// shuffle takes out the three bytes.
TAV_AVX2 std::size_t DecodeBlocks(const char* text, std::size_t length, unsigned char* out) {
  // A byte belongs to the alphabet when the entries of its two halves share no bit.
  const __m256i lowHalves = _mm256_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,  //
                                             0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A,  //
                                             0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,  //
                                             0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
  const __m256i highHalves = _mm256_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,  //
                                              0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10,  //
                                              0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,  //
                                              0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
  const __m256i offsets =
      _mm256_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16, 19, 4, -65,
                       -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m256i pack = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                        2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
  // One bit more than the four that the lookups read: with it, this is also the code of `/`, the
  // one character whose offset differs from that of its neighbours. Lookups ignore that bit.
  const __m256i halfMask = _mm256_set1_epi8(0x2F);
  std::size_t done = 0;
  for (; length - done >= kDecodeStep; done += kDecodeStep, out += kEncodeStep) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + done));
    const __m256i highs = _mm256_and_si256(_mm256_srli_epi32(bytes, 4), halfMask);
    const __m256i lows = _mm256_and_si256(bytes, halfMask);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(lowHalves, lows),
                            _mm256_shuffle_epi8(highHalves, highs))) {
      break;
    }
    const __m256i slashes = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('/'));
    const __m256i values =
        _mm256_add_epi8(bytes, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(slashes, highs)));
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, pack), join));
  }
  return done;
}

// Asked of the processor at the first use. The compiler's own test fills a table at every start of
// the program, which takes long where a virtual machine answers.
bool HasAvx2() {
  unsigned a = 0;
  unsigned b = 0;
  unsigned c = 0;
  unsigned d = 0;
  constexpr unsigned kAvxAndXsave = bit_AVX | bit_OSXSAVE;
  if (!__get_cpuid(1, &a, &b, &c, &d) || (c & kAvxAndXsave) != kAvxAndXsave) return false;
  unsigned low = 0;
  unsigned high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  constexpr unsigned kVectorState = 6;  // the system keeps the wide registers of each thread
  if ((low & kVectorState) != kVectorState) return false;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_AVX2) != 0;
}

constexpr Codec kAvx2 = {EncodeBlocks, DecodeBlocks};

}  // namespace

const Codec* Avx2() { return HasAvx2() ? &kAvx2 : nullptr; }

}  // namespace base64

#else

namespace base64 {

const Codec* Avx2() { return nullptr; }

}  // namespace base64

#endif
