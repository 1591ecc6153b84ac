#pragma once

#include <QAbstractTableModel>
#include <optional>

#include "tavhost/ui/table/table_arrangement.h"

namespace ui {

// Shows a table as a user sees it: its fields are decoded when they are asked for. Handles stand in
// the header at the left, as do the rows' numbers where there are no handles.
class TableItems final : public QAbstractTableModel {
 public:
  TableItems(TableModel& table, bool editable);

  // Shows another table, or what has become of this one.
  void SetTable(TableModel& table);
  void Reset();

  TableModel& Table() { return *table_; }
  TableArrangement& Seen() { return seen_; }
  const TableArrangement& Seen() const { return seen_; }

  // The table's row and column of an index; the index of a place.
  std::uint32_t RowOf(const QModelIndex& index) const;
  std::uint32_t ColumnOf(const QModelIndex& index) const;
  QModelIndex IndexOf(const TableArrangement::Place& place) const;

  void SortBy(std::uint32_t column, bool descending);
  void Unsort();
  // The column by which the rows are ordered now, seen only or for good.
  struct Sorting {
    std::uint32_t column;
    bool descending;
  };
  std::optional<Sorting> SortedBy() const;
  void SetFilter(const std::string& text);

  // Changes of the table itself; rows are the table's, as nothing is sorted or filtered then.
  void InsertRow(int row);
  void DeleteRows(int first, int last);
  void SortRows(std::uint32_t column, bool descending);
  void UnsortRows();
  // The place that changed; invalid when there was nothing to undo.
  QModelIndex Undo(bool again);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  template <typename Change>
  void Rearrange(Change change);

  TableModel* table_;
  TableArrangement seen_;
  bool editable_;
};

Qt::Alignment AlignmentOf(TableAlignment alignment);

}  // namespace ui
