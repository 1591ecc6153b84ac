#include "tavhost/base/one_line.h"

namespace base {

namespace {

bool ContinuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

}  // namespace

std::string OneLine(std::string_view text, std::size_t columns) {
  std::string line;
  std::size_t count = 0;
  for (const char byte : text) {
    if (!ContinuesCharacter(byte) && ++count > columns) break;
    line += static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F ? ' ' : byte;
  }
  return line;
}

}  // namespace base
