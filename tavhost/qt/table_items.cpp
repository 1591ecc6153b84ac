#include "tavhost/qt/table_items.h"

#include <QApplication>
#include <QBrush>
#include <QFont>
#include <QPalette>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr std::size_t kMostShown = 2000;  // bytes of a field that a table cell paints
const QChar kMore(0x2026);

// Of a title, so that rows are seen below it.
QString FirstLines(const QString& title) {
  constexpr int kMostTitleLines = 3;
  qsizetype end = -1;
  for (int i = 0; i < kMostTitleLines; ++i) {
    end = title.indexOf(QLatin1Char('\n'), end + 1);
    if (end < 0) return title;
  }
  return title.left(end) + QLatin1Char(' ') + kMore;
}

// One line, or all of them; cut where no cell shows more.
QString CellText(std::string_view text, bool allLines) {
  bool isCut = false;
  if (!allLines) {
    const std::size_t lineEnd = text.find('\n');
    if (lineEnd != std::string_view::npos) {
      text = text.substr(0, lineEnd);
      isCut = true;
    }
  }
  if (text.size() > kMostShown) {
    text = text.substr(0, kMostShown);
    isCut = true;
  }
  QString shown = Shown(text);
  if (isCut) shown += QLatin1Char(' ') + kMore;
  return shown;
}

QString Described(const Reference& reference) {
  QString text = reference.isModel ? QStringLiteral("Model") : QStringLiteral("Object");
  if (!reference.name.empty()) text += QLatin1Char(' ') + Shown(reference.name);
  if (!reference.type.empty()) text += QStringLiteral(", type ") + Shown(reference.type);
  if (!reference.version.empty()) text += QStringLiteral(", version ") + Shown(reference.version);
  return text;
}

// Palettes for dark windows often keep the blue of light ones, which cannot be read there.
QColor LinkColor() {
  const QPalette palette = QApplication::palette();
  const QColor link = palette.color(QPalette::Link);
  constexpr int kMiddle = 128;
  const bool isDark = palette.color(QPalette::Base).lightness() < kMiddle;
  return isDark && link.lightness() <= kMiddle ? QColor(0x6c, 0xae, 0xf5) : link;
}

}  // namespace

Qt::Alignment AlignmentOf(TableAlignment alignment) {
  switch (alignment) {
    case TableAlignment::kCentre:
      return Qt::AlignHCenter;
    case TableAlignment::kRight:
      return Qt::AlignRight;
    case TableAlignment::kLeft:
      break;
  }
  return Qt::AlignLeft;
}

TableItems::TableItems(TableModel& table, bool editable)
    : table_(&table), seen_(table), editable_(editable) {}

void TableItems::SetTable(TableModel& table) {
  beginResetModel();
  table_ = &table;
  seen_ = TableArrangement(table);
  endResetModel();
}

void TableItems::Reset() {
  beginResetModel();
  seen_.TableChanged();
  endResetModel();
}

std::uint32_t TableItems::RowOf(const QModelIndex& index) const {
  return seen_.RowAt(static_cast<std::uint32_t>(index.row()));
}

std::uint32_t TableItems::ColumnOf(const QModelIndex& index) const {
  return static_cast<std::uint32_t>(index.column()) + table_->FirstColumn();
}

QModelIndex TableItems::IndexOf(const TableArrangement::Place& place) const {
  const std::uint32_t first = table_->FirstColumn();
  return index(static_cast<int>(place.row),
               static_cast<int>(place.column < first ? 0 : place.column - first));
}

// The row count may change too, so views start afresh.
template <typename Change>
void TableItems::Rearrange(Change change) {
  beginResetModel();
  change();
  endResetModel();
}

void TableItems::SortBy(std::uint32_t column, bool descending) {
  Rearrange([&] { seen_.SortBy(column, descending); });
}

void TableItems::Unsort() {
  Rearrange([&] { seen_.Unsort(); });
}

std::optional<TableItems::Sorting> TableItems::SortedBy() const {
  if (const TableChange* const sort = table_->LastSort(); sort && editable_) {
    return Sorting{sort->column, sort->descending};
  }
  if (!seen_.SortColumn()) return std::nullopt;
  return Sorting{*seen_.SortColumn(), seen_.IsDescending()};
}

void TableItems::SetFilter(const std::string& text) {
  if (text == seen_.Filter()) return;
  Rearrange([&] { seen_.SetFilter(text); });
}

void TableItems::InsertRow(int row) {
  if (columnCount() == 0) return;
  beginInsertRows(QModelIndex(), row, row);
  table_->InsertRow(static_cast<std::uint32_t>(row));
  seen_.TableChanged();
  endInsertRows();
}

void TableItems::DeleteRows(int first, int last) {
  beginRemoveRows(QModelIndex(), first, last);
  const TableModel::Step step(*table_);
  for (int row = last; row >= first; --row) table_->DeleteRow(static_cast<std::uint32_t>(row));
  seen_.TableChanged();
  endRemoveRows();
}

void TableItems::SortRows(std::uint32_t column, bool descending) {
  Rearrange([&] {
    table_->SortRows(column, descending);
    seen_.TableChanged();
  });
}

void TableItems::UnsortRows() {
  Rearrange([&] {
    table_->UnsortRows();
    seen_.TableChanged();
  });
}

QModelIndex TableItems::Undo(bool again) {
  if (again ? !table_->CanRedo() : !table_->CanUndo()) return QModelIndex();
  TableArrangement::Place place{0, 0};
  Rearrange([&] {
    const TableChange* const change = again ? table_->Redo() : table_->Undo();
    place = {change->row, change->column};
    seen_.TableChanged();
  });
  if (rowCount() == 0) return QModelIndex();
  place.row = std::min(place.row, seen_.Rows() - 1);
  return IndexOf(place);
}

int TableItems::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(seen_.Rows());
}

int TableItems::columnCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  return static_cast<int>(table_->Columns() - table_->FirstColumn());
}

QVariant TableItems::data(const QModelIndex& index, int role) const {
  const std::uint32_t row = RowOf(index);
  const std::uint32_t column = ColumnOf(index);
  std::string scratch;
  switch (role) {
    case Qt::DisplayRole:
      return CellText(table_->Cell(row, column, scratch), table_->IsExpanded(row));
    case Qt::EditRole:
      return Editable(table_->Cell(row, column, scratch));
    case Qt::TextAlignmentRole:
      return static_cast<int>(AlignmentOf(table_->Alignment(column)) | Qt::AlignVCenter);
    case Qt::ToolTipRole: {
      if (const auto link = table_->LinkAt(row, column)) return Described(*link);
      const std::string_view cell = table_->Cell(row, column, scratch);
      if (cell.find('\n') == std::string_view::npos && cell.size() < 40) return QVariant();
      return TipOf(CellText(cell, true), QString());
    }
    case Qt::ForegroundRole:
      if (!table_->LinkAt(row, column)) break;
      return QBrush(LinkColor());
    case Qt::FontRole: {
      if (!table_->LinkAt(row, column)) break;
      QFont font;
      font.setUnderline(true);
      return font;
    }
    default:
      break;
  }
  return QVariant();
}

QVariant TableItems::headerData(int section, Qt::Orientation orientation, int role) const {
  std::string scratch;
  if (orientation == Qt::Horizontal) {
    const std::uint32_t column = static_cast<std::uint32_t>(section) + table_->FirstColumn();
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole || role == Qt::AccessibleTextRole) {
      const QString title = CellText(table_->Title(column, scratch), true);
      const QString shown = FirstLines(title);
      if (role == Qt::DisplayRole) return shown;
      if (role == Qt::AccessibleTextRole) return title;
      return TipOf(title, shown);
    }
    if (role == Qt::TextAlignmentRole) {
      return static_cast<int>(AlignmentOf(table_->Alignment(column)) | Qt::AlignVCenter);
    }
    return QVariant();
  }
  if (section < 0 || section >= rowCount()) return QVariant();
  const std::uint32_t row = seen_.RowAt(static_cast<std::uint32_t>(section));
  if (role == Qt::DisplayRole) {
    return table_->HasHandles() ? CellText(table_->Cell(row, 0, scratch), false)
                                : QString::number(row + 1);
  }
  if (role == Qt::TextAlignmentRole) {
    const Qt::Alignment alignment =
        table_->HasHandles() ? AlignmentOf(table_->Alignment(0)) : Qt::Alignment(Qt::AlignRight);
    return static_cast<int>(alignment | Qt::AlignVCenter);
  }
  return QVariant();
}

// What was not touched stays byte for byte.
bool TableItems::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!editable_ || role != Qt::EditRole) return false;
  const QString text = value.toString();
  if (text == data(index, Qt::EditRole).toString()) return true;
  if (!table_->SetCell(RowOf(index), ColumnOf(index), Bytes(text))) return false;
  seen_.TableChanged();
  Q_EMIT dataChanged(index, index);
  return true;
}

Qt::ItemFlags TableItems::flags(const QModelIndex&) const {
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  if (editable_) flags |= Qt::ItemIsEditable;
  return flags;
}

}  // namespace ui
