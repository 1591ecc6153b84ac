#include "tavhost/ui/table/table_arrangement.h"

#include <algorithm>
#include <numeric>

#include "tavhost/ui/table/table_search.h"
#include "tavhost/ui/table/table_sort.h"

namespace ui {

std::optional<std::uint32_t> TableArrangement::PlaceOf(std::uint32_t row) const {
  if (isIdentity_) return row < table_->Rows() ? std::optional(row) : std::nullopt;
  const auto found = std::find(shown_.begin(), shown_.end(), row);
  if (found == shown_.end()) return std::nullopt;
  return static_cast<std::uint32_t>(found - shown_.begin());
}

std::vector<std::uint32_t> TableArrangement::AllRows() const {
  if (!isIdentity_) return shown_;
  std::vector<std::uint32_t> rows(table_->Rows());
  std::iota(rows.begin(), rows.end(), 0);
  return rows;
}

void TableArrangement::SortBy(std::uint32_t column, bool descending) {
  sortColumn_ = column;
  isDescending_ = descending;
  sorted_ = table_sort::SortedRows(*table_, column, descending);
  Arrange();
}

void TableArrangement::Unsort() {
  sortColumn_.reset();
  sorted_.clear();
  Arrange();
}

void TableArrangement::SetFilter(const std::string& text) {
  filter_ = text;
  passes_.clear();
  if (!filter_.empty()) passes_ = table_search::MatchingRows(*table_, filter_);
  Arrange();
}

void TableArrangement::Arrange() {
  isIdentity_ = sorted_.empty() && filter_.empty();
  shown_.clear();
  if (isIdentity_) {
    shown_.shrink_to_fit();
    return;
  }
  if (filter_.empty()) {
    shown_ = sorted_;
    return;
  }
  const std::uint32_t rows = table_->Rows();
  for (std::uint32_t i = 0; i < rows; ++i) {
    const std::uint32_t row = sorted_.empty() ? i : sorted_[i];
    if (passes_[row]) shown_.push_back(row);
  }
}

void TableArrangement::TableChanged() {
  searched_.clear();
  found_.clear();
  if (sortColumn_) sorted_ = table_sort::SortedRows(*table_, *sortColumn_, isDescending_);
  if (!filter_.empty()) passes_ = table_search::MatchingRows(*table_, filter_);
  Arrange();
}

const std::vector<bool>& TableArrangement::MatchesOf(const std::string& text) {
  if (searched_ != text) {
    searched_ = text;
    found_ = table_search::MatchingRows(*table_, text);
  }
  return found_;
}

bool TableArrangement::Matches(std::uint32_t place, std::uint32_t column,
                               const std::string& text) const {
  std::string scratch;
  return table_search::Contains(table_->Cell(RowAt(place), column, scratch), text);
}

std::optional<TableArrangement::Place> TableArrangement::Find(const std::string& text,
                                                              std::optional<Place> from,
                                                              bool backwards) {
  const std::uint32_t rows = Rows();
  const std::uint32_t columns = table_->Columns();
  if (text.empty() || rows == 0 || columns == 0) return std::nullopt;
  const std::vector<bool>& matches = MatchesOf(text);
  // The row of the start is looked at twice: behind the place, and at the end before it.
  const std::uint32_t startRow = from ? std::min(from->row, rows - 1) : backwards ? rows - 1 : 0;
  for (std::uint32_t step = 0; step <= rows; ++step) {
    const std::uint32_t ahead = step % rows;
    const std::uint32_t row =
        backwards ? (startRow + rows - ahead) % rows : (startRow + ahead) % rows;
    if (!matches[RowAt(row)]) continue;
    for (std::uint32_t i = 0; i < columns; ++i) {
      const std::uint32_t column = backwards ? columns - 1 - i : i;
      if (from && step == 0 && (backwards ? column >= from->column : column <= from->column)) {
        continue;
      }
      if (Matches(row, column, text)) return Place{row, column};
    }
  }
  return std::nullopt;
}

std::uint32_t TableArrangement::CountMatches(const std::string& text) {
  if (text.empty()) return 0;
  const std::vector<bool>& matches = MatchesOf(text);
  if (isIdentity_) {
    return static_cast<std::uint32_t>(std::count(matches.begin(), matches.end(), true));
  }
  std::uint32_t count = 0;
  for (const std::uint32_t row : shown_) count += matches[row] ? 1 : 0;
  return count;
}

}  // namespace ui
