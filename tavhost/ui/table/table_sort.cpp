#include "tavhost/ui/table/table_sort.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <string>
#include <utility>

#include "tavhost/base/ascii.h"
#include "tavhost/ui/table/table_model.h"

namespace ui::table_sort {

namespace {

bool IsBlank(char byte) { return byte == ' ' || byte == '\t'; }

struct NumberKey {
  std::uint64_t order;  // ascends as the numbers do
  std::uint32_t row;
};

std::uint64_t OrderOf(double number, bool descending) {
  constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
  const auto bits = std::bit_cast<std::uint64_t>(number == 0 ? 0.0 : number);  // -0 is 0
  const std::uint64_t ascending = bits & kSign ? ~bits : bits | kSign;
  return descending ? ~ascending : ascending;
}

// By one byte after the other, the lowest first; keeps the order of equal ones. Bytes that all
// numbers have in common, most of them where numbers are whole, cost nothing.
void SortNumbers(std::vector<NumberKey>& keys) {
  constexpr unsigned kBits = 11;
  constexpr std::size_t kBuckets = std::size_t{1} << kBits;
  if (std::is_sorted(keys.begin(), keys.end(),
                     [](const auto& a, const auto& b) { return a.order < b.order; })) {
    return;
  }
  std::vector<NumberKey> other(keys.size());
  std::vector<std::uint32_t> counts(kBuckets);
  for (unsigned shift = 0; shift < 64; shift += kBits) {
    std::fill(counts.begin(), counts.end(), 0);
    for (const NumberKey& key : keys) ++counts[(key.order >> shift) & (kBuckets - 1)];
    if (counts[(keys.front().order >> shift) & (kBuckets - 1)] == keys.size()) continue;
    std::uint32_t place = 0;
    for (std::uint32_t& count : counts) place += std::exchange(count, place);
    for (const NumberKey& key : keys) {
      other[counts[(key.order >> shift) & (kBuckets - 1)]++] = key;
    }
    keys.swap(other);
  }
}

unsigned char Folded(char byte) { return static_cast<unsigned char>(ascii::ToLower(byte)); }

struct TextKey {
  std::uint64_t prefix;  // the first eight bytes, folded
  std::uint32_t row;
};

std::uint64_t PrefixOf(std::string_view text) {
  std::uint64_t prefix = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    prefix = prefix << 8 | (i < text.size() ? Folded(text[i]) : 0);
  }
  return prefix;
}

void SortTexts(const TableModel& table, std::uint32_t column, bool descending,
               std::vector<TextKey>& keys) {
  std::string scratchA;
  std::string scratchB;
  std::stable_sort(keys.begin(), keys.end(), [&](const TextKey& a, const TextKey& b) {
    if (a.prefix != b.prefix) return (a.prefix < b.prefix) != descending;
    const int order = ascii::CompareInLowerCase(table.Cell(a.row, column, scratchA),
                                                table.Cell(b.row, column, scratchB));
    return descending ? order > 0 : order < 0;
  });
}

}  // namespace

std::optional<double> NumberOf(std::string_view field) {
  while (!field.empty() && IsBlank(field.front())) field.remove_prefix(1);
  while (!field.empty() && IsBlank(field.back())) field.remove_suffix(1);
  if (field.empty()) return std::nullopt;
  const bool isNegative = field.front() == '-';
  if (isNegative || field.front() == '+') field.remove_prefix(1);
  if (field.empty() || !(ascii::IsDigit(field.front()) || field.front() == '.'))
    return std::nullopt;
  // Short whole numbers and decimals, which most are, without the general way.
  constexpr std::size_t kShort = 15;  // digits that a double holds exactly
  constexpr double kPowers[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if (field.size() <= kShort) {
    std::uint64_t digits = 0;
    std::size_t point = field.size();
    std::size_t i = 0;
    for (; i < field.size(); ++i) {
      if (ascii::IsDigit(field[i])) {
        digits = digits * 10 + static_cast<std::uint64_t>(field[i] - '0');
      } else if (field[i] == '.' && point == field.size()) {
        point = i;
      } else {
        break;
      }
    }
    if (i == field.size() && field != ".") {
      const std::size_t decimals = point == field.size() ? 0 : field.size() - point - 1;
      const double number = static_cast<double>(digits) / kPowers[decimals];
      return isNegative ? -number : number;
    }
  }
  double number = 0;
  const char* const end = field.data() + field.size();
  const auto [at, error] = std::from_chars(field.data(), end, number);
  if (at != end || (error != std::errc() && error != std::errc::result_out_of_range)) {
    return std::nullopt;
  }
  return isNegative ? -number : number;
}

std::vector<std::uint32_t> SortedRows(const TableModel& table, std::uint32_t column,
                                      bool descending) {
  std::vector<NumberKey> numbers;
  std::vector<TextKey> texts;
  std::vector<std::uint32_t> empty;
  const std::uint32_t rows = table.Rows();
  std::string scratch;
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::string_view cell = table.Cell(row, column, scratch);
    if (cell.empty()) {
      empty.push_back(row);
    } else if (const std::optional<double> number = NumberOf(cell)) {
      numbers.push_back({OrderOf(*number, descending), row});
    } else {
      texts.push_back({PrefixOf(cell), row});
    }
  }
  SortNumbers(numbers);
  SortTexts(table, column, descending, texts);
  std::vector<std::uint32_t> order;
  order.reserve(rows);
  if (descending) {
    for (const TextKey& key : texts) order.push_back(key.row);
  }
  for (const NumberKey& key : numbers) order.push_back(key.row);
  if (!descending) {
    for (const TextKey& key : texts) order.push_back(key.row);
  }
  order.insert(order.end(), empty.begin(), empty.end());
  return order;
}

}  // namespace ui::table_sort
