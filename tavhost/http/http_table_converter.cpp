#include "tavhost/http/http_table_converter.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace http {

Character::Character(std::string_view utf8) {
  static_assert(std::endian::native == std::endian::little);
  std::memcpy(&word_, utf8.data(), std::min(utf8.size(), kLongest));
  word_ |= static_cast<std::uint32_t>(utf8.size()) << kLengthAt;
}

inline char* Character::Put(char* out) const {
  std::memcpy(out, &word_, sizeof word_);
  return out + (word_ >> kLengthAt);
}

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);
const Character kUnknown("\xEF\xBF\xBD");

class TableConverter final : public Converter {
 public:
  explicit TableConverter(std::unique_ptr<CharacterTable> table)
      : table_(std::move(table)), hasAscii_(HasAscii(*table_)) {}

  std::size_t RoomFor(std::size_t bytes) const override {
    return (bytes + 2) * Character::kLongest + kWord;
  }

  char* Append(std::string_view bytes, char* out) override {
    const char* in = bytes.data();
    const char* const end = in + bytes.size();
    if (hasLead_ && in != end) {
      hasLead_ = false;
      out = PutPair(lead_, in, out);
    }
    while (in != end) {
      if (hasAscii_) CopyAscii(in, end, out);
      if (in == end) break;
      const Character one = table_->single[static_cast<unsigned char>(*in)];
      const char lead = *in++;
      if (one.IsOne()) [[likely]] {
        out = one.Put(out);
      } else if (!one.IsLead()) {
        out = kUnknown.Put(out);
      } else if (in != end) {
        out = PutPair(lead, in, out);
      } else {
        hasLead_ = true;
        lead_ = lead;
      }
    }
    return out;
  }

  char* Finish(char* out) override { return hasLead_ ? kUnknown.Put(out) : out; }

 private:
  static bool HasAscii(const CharacterTable& table) {
    for (unsigned byte = 0; byte < 0x80; ++byte) {
      const char character = static_cast<char>(byte);
      char written[4];
      const Character& one = table.single[byte];
      if (!one.IsOne() || one.Put(written) != written + 1 || *written != character) return false;
    }
    return true;
  }

  // Word by word, as long as it is ASCII. A last word is left for others to take. Writes a word
  // more than counts.
  static void CopyAscii(const char*& in, const char* end, char*& out) {
    while (end - in >= std::ptrdiff_t{kWord}) {
      std::uint64_t word;
      std::memcpy(&word, in, kWord);
      std::memcpy(out, &word, kWord);
      const std::uint64_t others = word & 0x8080808080808080u;
      const int count = others == 0 ? int{kWord} : std::countr_zero(others) / 8;
      in += count;
      out += count;
      if (others != 0) return;
    }
  }

  // `in` is at the second byte, and stays there when the two are no pair: it may begin a character.
  char* PutPair(char lead, const char*& in, char* out) const {
    const Character pair =
        table_->Pair(static_cast<unsigned char>(lead), static_cast<unsigned char>(*in));
    if (!pair.IsOne()) return kUnknown.Put(out);
    ++in;
    return pair.Put(out);
  }

  const std::unique_ptr<CharacterTable> table_;
  const bool hasAscii_;  // ASCII stands for itself
  bool hasLead_ = false;
  char lead_ = 0;  // the first byte of a pair, whose second is still to come
};

}  // namespace

std::unique_ptr<Converter> MakeTableConverter(std::unique_ptr<CharacterTable> table) {
  return std::make_unique<TableConverter>(std::move(table));
}

}  // namespace http
