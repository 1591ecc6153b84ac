#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/export.h"
#include "tavhost/ui/table/table_model.h"

namespace ui {

// Which rows of a table a user sees, and in which order: sorted by a column, narrowed by a filter.
// The table itself stays as it is. A place is a row as the user sees it.
class TAV_HOST_API TableArrangement {
 public:
  struct Place {
    std::uint32_t row;
    std::uint32_t column;
  };

  explicit TableArrangement(const TableModel& table) : table_(&table) {}

  const TableModel& Table() const { return *table_; }
  std::uint32_t Rows() const {
    return isIdentity_ ? table_->Rows() : static_cast<std::uint32_t>(shown_.size());
  }
  // The row of the table at that place.
  std::uint32_t RowAt(std::uint32_t place) const { return isIdentity_ ? place : shown_[place]; }
  // Where a row of the table is seen; empty when the filter hides it.
  std::optional<std::uint32_t> PlaceOf(std::uint32_t row) const;
  std::vector<std::uint32_t> AllRows() const;

  void SortBy(std::uint32_t column, bool descending);
  void Unsort();
  std::optional<std::uint32_t> SortColumn() const { return sortColumn_; }
  bool IsDescending() const { return isDescending_; }

  // Only rows of which a field holds the text; all for an empty one.
  void SetFilter(const std::string& text);
  const std::string& Filter() const { return filter_; }

  // The next field that holds the text behind that place, or the one before it; goes on at the
  // other end. Empty when there is none.
  std::optional<Place> Find(const std::string& text, std::optional<Place> from, bool backwards);
  // How many of the rows that are seen hold the text.
  std::uint32_t CountMatches(const std::string& text);

  // To be called when the table has been changed.
  void TableChanged();

 private:
  void Arrange();
  const std::vector<bool>& MatchesOf(const std::string& text);
  bool Matches(std::uint32_t place, std::uint32_t column, const std::string& text) const;

  const TableModel* table_;
  bool isIdentity_ = true;
  std::vector<std::uint32_t> shown_;
  std::optional<std::uint32_t> sortColumn_;
  bool isDescending_ = false;
  std::vector<std::uint32_t> sorted_;  // all rows in order; empty when not sorted
  std::string filter_;
  std::vector<bool> passes_;
  std::string searched_;
  std::vector<bool> found_;
};

}  // namespace ui
