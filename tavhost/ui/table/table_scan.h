#pragma once

#include <cstddef>
#include <cstdint>

// Finding the few bytes of a long text that matter: with 128-bit vectors and, with the same
// result, without.
namespace ui::table_scan {

inline constexpr std::size_t kBlock = 64;

// For each block of 64 bytes a word: bit n is set when byte n is one of the three.
using Scan = void (*)(const char* text, std::size_t blocks, const char (&wanted)[3],
                      std::uint64_t* marks);

Scan Portable();
Scan Sse2();  // null where the processor has no such vectors
Scan Best();

}  // namespace ui::table_scan
