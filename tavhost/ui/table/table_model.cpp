#include "tavhost/ui/table/table_model.h"

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

#include "tavhost/ui/table/table_sort.h"
#include "tavhost/ui/table/table_write.h"

namespace ui {

bool TableModel::Read(std::string_view text, std::shared_ptr<const void> owner, char fieldSeparator,
                      char rowSeparator) {
  if (!text_.Read(text, std::move(owner), fieldSeparator, rowSeparator)) return false;
  looks_.assign(text_.Columns(), {});
  isMoved_ = false;
  rows_.clear();
  nextId_ = ReadRows();
  cells_.clear();
  otherwise_.clear();
  done_.clear();
  undone_.clear();
  return true;
}

std::string TableModel::Write(char fieldSeparator) const {
  std::vector<std::uint32_t> rows(Rows());
  std::iota(rows.begin(), rows.end(), 0);
  std::vector<std::uint32_t> columns(Columns());
  std::iota(columns.begin(), columns.end(), 0);
  return table_write::Delimited(*this, rows, columns, true, fieldSeparator);
}

std::uint32_t TableModel::Rows() const {
  return isMoved_ ? static_cast<std::uint32_t>(rows_.size()) : ReadRows();
}

std::optional<std::uint32_t> TableModel::ColumnOfNumber(std::uint64_t number) const {
  if (!hasHandles_ && number-- == 0) return std::nullopt;
  if (number >= Columns()) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

std::string_view TableModel::Title(std::uint32_t column, std::string& scratch) const {
  return text_.Lines() == 0 ? std::string_view() : text_.Field(0, column, scratch);
}

std::string_view TableModel::CellOf(RowId id, std::uint32_t column, std::string& scratch) const {
  if (!cells_.empty()) {
    const auto changed = cells_.find(Key(id, column));
    if (changed != cells_.end()) return changed->second;
  }
  return id < ReadRows() ? text_.Field(id + 1, column, scratch) : std::string_view();
}

std::string_view TableModel::Cell(std::uint32_t row, std::uint32_t column,
                                  std::string& scratch) const {
  return CellOf(IdOf(row), column, scratch);
}

std::string TableModel::Text(std::uint32_t row, std::uint32_t column) const {
  std::string scratch;
  return std::string(Cell(row, column, scratch));
}

std::uint32_t TableModel::LineCount(std::uint32_t row) const {
  std::uint32_t most = 0;
  std::string scratch;
  for (std::uint32_t column = 0; column < Columns(); ++column) {
    const std::string_view cell = Cell(row, column, scratch);
    const auto breaks = std::count(cell.begin(), cell.end(), '\n');
    most = std::max(most, static_cast<std::uint32_t>(breaks));
  }
  return most + 1;
}

bool TableModel::IsExpanded(std::uint32_t row) const {
  const bool isOtherwise = !otherwise_.empty() && otherwise_.count(IdOf(row)) > 0;
  return allExpanded_ != isOtherwise;
}

void TableModel::Expand(std::uint32_t row, bool expanded) {
  if (expanded == allExpanded_) {
    otherwise_.erase(IdOf(row));
  } else {
    otherwise_.insert(IdOf(row));
  }
}

void TableModel::ExpandAll(bool expanded) {
  allExpanded_ = expanded;
  otherwise_.clear();
  if (lookChanged) lookChanged();
}

void TableModel::ListRows() {
  if (isMoved_) return;
  rows_.resize(ReadRows());
  std::iota(rows_.begin(), rows_.end(), 0);
  isMoved_ = true;
}

// A cell that holds what was read again counts as unchanged.
void TableModel::PutCell(RowId id, std::uint32_t column, std::string_view text) {
  std::string scratch;
  const std::string_view read =
      id < ReadRows() ? text_.Field(id + 1, column, scratch) : std::string_view();
  if (text == read) {
    cells_.erase(Key(id, column));
  } else {
    cells_[Key(id, column)] = text;
  }
}

void TableModel::Record(Done done) {
  done.isFirst = stepDepth_ == 0 || isFirstOfStep_;
  isFirstOfStep_ = false;
  Apply(done, true);
  undone_.clear();
  done_.push_back(std::move(done));
}

void TableModel::Apply(Done& done, bool again) {
  const TableChange& change = done.change;
  switch (change.kind) {
    case TableChange::Kind::kCell:
      PutCell(IdOf(change.row), change.column, again ? change.text : done.before);
      return;
    case TableChange::Kind::kInsertRow:
    case TableChange::Kind::kDeleteRow: {
      ListRows();
      const auto place = rows_.begin() + static_cast<std::ptrdiff_t>(change.row);
      if ((change.kind == TableChange::Kind::kInsertRow) == again) {
        rows_.insert(place, done.id);
      } else {
        rows_.erase(place);
      }
      return;
    }
    case TableChange::Kind::kSort:
      ListRows();
      rows_.swap(done.order);
      return;
  }
}

bool TableModel::SetCell(std::uint32_t row, std::uint32_t column, std::string_view text) {
  if (row >= Rows() || column >= Columns() || column < FirstColumn()) return false;
  Done done;
  done.before = Text(row, column);
  if (done.before == text) return true;
  done.change.row = row;
  done.change.column = column;
  done.change.text = text;
  Record(std::move(done));
  return true;
}

bool TableModel::InsertRow(std::uint32_t row) {
  if (row > Rows() || Columns() == 0) return false;
  Done done;
  done.change.kind = TableChange::Kind::kInsertRow;
  done.change.row = row;
  done.id = nextId_++;
  Record(std::move(done));
  return true;
}

bool TableModel::DeleteRow(std::uint32_t row) {
  if (row >= Rows()) return false;
  Done done;
  done.change.kind = TableChange::Kind::kDeleteRow;
  done.change.row = row;
  done.id = IdOf(row);
  Record(std::move(done));
  return true;
}

bool TableModel::SortRows(std::uint32_t column, bool descending) {
  if (column >= Columns()) return false;
  Done done;
  done.change.kind = TableChange::Kind::kSort;
  done.change.column = column;
  done.change.descending = descending;
  done.order = table_sort::SortedRows(*this, column, descending);
  for (RowId& row : done.order) row = IdOf(row);
  Record(std::move(done));
  return true;
}

bool TableModel::UnsortRows() {
  std::size_t first = done_.size();
  while (first > 0 && done_[first - 1].change.kind == TableChange::Kind::kSort) --first;
  if (first == done_.size() || done_.back().unsorts) return false;
  Done done;
  done.change.kind = TableChange::Kind::kSort;
  done.change.column = done_.back().change.column;
  done.unsorts = true;
  done.order = done_[first].order;
  Record(std::move(done));
  return true;
}

const TableChange* TableModel::LastSort() const {
  if (done_.empty() || done_.back().unsorts) return nullptr;
  const TableChange& last = done_.back().change;
  return last.kind == TableChange::Kind::kSort ? &last : nullptr;
}

const TableChange* TableModel::Undo() {
  if (done_.empty()) return nullptr;
  for (bool isFirst = false; !isFirst;) {
    Done done = std::move(done_.back());
    done_.pop_back();
    Apply(done, false);
    isFirst = done.isFirst;
    undone_.push_back(std::move(done));
  }
  return &undone_.back().change;
}

const TableChange* TableModel::Redo() {
  if (undone_.empty()) return nullptr;
  const std::size_t first = done_.size();
  do {
    Done done = std::move(undone_.back());
    undone_.pop_back();
    Apply(done, true);
    done_.push_back(std::move(done));
  } while (!undone_.empty() && !undone_.back().isFirst);
  return &done_[first].change;
}

std::vector<TableChange> TableModel::Changes() const {
  std::vector<TableChange> changes;
  std::set<std::pair<std::uint32_t, std::uint32_t>> later;
  bool isTakenBack = false;  // sorts that were, and what took them back, have moved nothing
  for (auto done = done_.rbegin(); done != done_.rend(); ++done) {
    const TableChange& change = done->change;
    isTakenBack = change.kind == TableChange::Kind::kSort && (isTakenBack || done->unsorts);
    if (isTakenBack) continue;
    if (change.kind != TableChange::Kind::kCell) {
      later.clear();
    } else if (!later.insert({change.row, change.column}).second) {
      continue;
    }
    changes.push_back(change);
  }
  std::reverse(changes.begin(), changes.end());
  return changes;
}

std::optional<long> TableModel::Width(std::uint32_t column) const {
  return column < looks_.size() ? looks_[column].width : std::nullopt;
}

void TableModel::SetWidth(std::uint32_t column, long width) {
  if (column >= looks_.size()) return;
  looks_[column].width = width;
  if (lookChanged) lookChanged();
}

TableAlignment TableModel::Alignment(std::uint32_t column) const {
  return column < looks_.size() ? looks_[column].alignment : TableAlignment::kLeft;
}

void TableModel::SetAlignment(std::uint32_t column, TableAlignment alignment) {
  if (column >= looks_.size()) return;
  looks_[column].alignment = alignment;
  if (lookChanged) lookChanged();
}

std::optional<Reference> TableModel::LinkAt(std::uint32_t row, std::uint32_t column) const {
  if (!showsLinks || (modelFormat.empty() && objectFormat.empty())) return std::nullopt;
  std::string scratch;
  const std::string_view field = Cell(row, column, scratch);
  std::optional<Reference> reference = MatchReference(modelFormat, field);
  if (reference) {
    reference->isModel = true;
    return reference;
  }
  return MatchReference(objectFormat, field);
}

std::size_t TableModel::IndexBytes() const {
  return text_.IndexBytes() + rows_.capacity() * sizeof(RowId);
}

}  // namespace ui
