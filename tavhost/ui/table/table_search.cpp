#include "tavhost/ui/table/table_search.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "tavhost/base/ascii.h"
#include "tavhost/ui/table/table_model.h"
#include "tavhost/ui/table/table_scan.h"

namespace ui::table_search {

namespace {

// `piece` is in lower case and lies wholly within the text.
bool StandsAt(const char* text, std::string_view piece) {
  for (std::size_t i = 0; i < piece.size(); ++i) {
    if (ascii::ToLower(text[i]) != piece[i]) return false;
  }
  return true;
}

// Calls `found` with each place of the piece, which is in lower case and not empty; it returns the
// place from which to go on.
template <typename Found>
void FindAll(std::string_view text, std::string_view piece, Found found) {
  if (text.size() < piece.size()) return;
  const char first[3] = {piece.front(), ascii::ToUpper(piece.front()), piece.front()};
  const char final[3] = {piece.back(), ascii::ToUpper(piece.back()), piece.back()};
  const table_scan::Scan scan = table_scan::Best();
  const std::size_t last = text.size() - piece.size();
  std::size_t from = 0;  // places before it are not wanted
  for (std::size_t base = 0; base <= last; base += table_scan::kBlock) {
    if (base + table_scan::kBlock <= from) continue;
    std::uint64_t marks = 0;
    if (text.size() - base >= table_scan::kBlock + piece.size() - 1) {
      // Few places have the first byte here and the last one where it must be.
      std::uint64_t ends = 0;
      scan(text.data() + base, 1, first, &marks);
      scan(text.data() + base + piece.size() - 1, 1, final, &ends);
      marks &= ends;
    } else if (text.size() - base >= table_scan::kBlock) {
      scan(text.data() + base, 1, first, &marks);
    } else {
      char rest[table_scan::kBlock] = {};
      std::memcpy(rest, text.data() + base, text.size() - base);
      scan(rest, 1, first, &marks);
    }
    for (; marks != 0; marks &= marks - 1) {
      const std::size_t at = base + static_cast<std::size_t>(std::countr_zero(marks));
      if (at > last) return;
      if (at >= from && StandsAt(text.data() + at, piece)) from = found(at);
    }
  }
}

}  // namespace

bool Contains(std::string_view text, std::string_view piece) {
  return std::search(text.begin(), text.end(), piece.begin(), piece.end(),
                     [](char a, char b) { return ascii::EqualIgnoringCase(a, b); }) != text.end() ||
         piece.empty();
}

std::vector<bool> MatchingRows(const TableModel& table, std::string_view piece) {
  std::vector<bool> matches(table.Rows());
  const std::string lower = ascii::ToLower(piece);
  const TableText* const unchanged = table.Unchanged();
  if (unchanged && unchanged->IsPlain(lower) && unchanged->IsPlain(ascii::ToUpper(lower))) {
    std::uint32_t line = 0;
    FindAll(unchanged->Text(), lower, [&](std::size_t at) {
      // Matches are often close together.
      if (unchanged->LineEnd(line) < at) line = unchanged->LineAt(at);
      if (line > 0) matches[line - 1] = true;
      return unchanged->LineEnd(line) + 1;
    });
    return matches;
  }
  std::string scratch;
  for (std::uint32_t row = 0; row < table.Rows(); ++row) {
    for (std::uint32_t column = 0; column < table.Columns() && !matches[row]; ++column) {
      if (Contains(table.Cell(row, column, scratch), lower)) matches[row] = true;
    }
  }
  return matches;
}

}  // namespace ui::table_search
