#pragma once

#include <QLabel>
#include <QTableView>
#include <functional>
#include <set>

#include "tavhost/qt/table_items.h"

namespace ui {

// The grid of a table. Rows are laid out when they come into view; those of several lines show one
// line until they are expanded (`+`, `-`, `*`, or a double click).
class TableView final : public QTableView {
 public:
  TableView(TableItems& items, bool editable);

  // Puts widths, titles and heights as the table wants them.
  void ShowTable();
  // Another table is shown: no width of a column holds any more.
  void ForgetWidths() { fitted_.clear(); }
  // Heights of the rows in view; the table says which are expanded.
  void AdjustRows();
  void ExpandAll(bool expanded);

  void CopySelection() const;
  // The selected fields, or all that are seen when there is no selection, with their titles.
  std::string SelectionText(char separator) const;
  // The field is current and in view.
  void GoTo(const QModelIndex& index);
  // Ascending, descending, as it came.
  void SortByHeader(int section);
  std::optional<TableModel::RowId> IdOfCurrentRow() const;
  // Clicks on titles leave the rows where they are from now on.
  void ForbidSorting();

  // The user has followed a link.
  std::function<void(const Reference&)> linkFollowed;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void updateGeometries() override;
  bool viewportEvent(QEvent* event) override;
  void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

 private:
  void FitColumns();
  void ShowSorting();
  int ContentWidth(int section) const;
  int RowHeight(std::uint32_t lines) const;
  void PlaceCorner();
  void Expand(const QModelIndexList& indexes, bool expanded);
  bool FollowLink(const QModelIndex& index);

  TableItems& items_;
  bool editable_;
  bool sorts_ = true;
  QLabel* corner_;
  std::vector<std::optional<long>> fitted_;  // the widths that columns were last given
  std::set<int> tall_;                       // rows that have another height than most
  bool adjusting_ = false;
};

}  // namespace ui
