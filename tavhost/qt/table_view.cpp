#include "tavhost/qt/table_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <algorithm>
#include <numeric>

#include "tavhost/qt/shown_text.h"
#include "tavhost/ui/table/table_write.h"

namespace ui {

namespace {

constexpr int kMeasuredRows = 100;   // for the widths of columns
constexpr int kMostCharacters = 50;  // of a column that nobody gave a width
constexpr int kLeastCharacters = 4;
constexpr std::uint32_t kMostLines = 40;      // of an expanded row
constexpr std::size_t kMostCopied = 5000000;  // fields that are copied at once

}  // namespace

TableView::TableView(TableItems& items, bool editable)
    : items_(items), editable_(editable), corner_(new QLabel(this)) {
  setObjectName(QStringLiteral("table"));
  setAccessibleName(QStringLiteral("Table"));
  setWordWrap(false);
  setMouseTracking(true);
  setAlternatingRowColors(true);
  setHorizontalScrollMode(ScrollPerPixel);
  setSelectionMode(ExtendedSelection);
  setTabKeyNavigation(false);  // fields are gone through by arrows; Tab leaves the table
  setEditTriggers(editable ? DoubleClicked | EditKeyPressed | AnyKeyPressed : NoEditTriggers);
  verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  verticalHeader()->setDefaultSectionSize(RowHeight(1));
  verticalHeader()->setHighlightSections(false);
  horizontalHeader()->setHighlightSections(false);
  horizontalHeader()->setSectionsClickable(true);
  horizontalHeader()->setSortIndicatorShown(true);
  ShowSorting();
  horizontalHeader()->setStretchLastSection(true);
  horizontalHeader()->setMinimumSectionSize(0);
  corner_->setAttribute(Qt::WA_TransparentForMouseEvents);
  corner_->setContentsMargins(4, 0, 4, 0);

  setModel(&items_);  // last: what is told to the headers later, they tell a million rows

  // A press selects the column, unless it sorts the rows: the user stays on theirs then.
  QObject::disconnect(horizontalHeader(), &QHeaderView::sectionPressed, this, nullptr);
  QObject::connect(horizontalHeader(), &QHeaderView::sectionPressed, this, [this](int section) {
    if (!editable_ || !sorts_) selectColumn(section);
  });
  QObject::connect(horizontalHeader(), &QHeaderView::sectionClicked, this,
                   [this](int section) { SortByHeader(section); });
  QObject::connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { AdjustRows(); });
  // Heights go by place, and the places have other rows now.
  QObject::connect(&items_, &QAbstractItemModel::modelReset, this, [this] {
    tall_.clear();
    AdjustRows();
    ShowSorting();
  });
  for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved}) {
    QObject::connect(&items_, signal, this, [this] {
      AdjustRows();
      ShowSorting();
    });
  }
  QObject::connect(&items_, &QAbstractItemModel::dataChanged, this, [this] { ShowSorting(); });
  if (!editable) {
    QObject::connect(this, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& at) {
      const std::uint32_t row = items_.RowOf(at);
      if (items_.Table().LineCount(row) > 1) Expand({at}, !items_.Table().IsExpanded(row));
    });
  }
  ShowTable();
}

void TableView::ShowTable() {
  FitColumns();
  std::string scratch;
  corner_->setText(items_.Table().HasHandles() ? Shown(items_.Table().Title(0, scratch))
                                               : QString());
  verticalHeader()->setAccessibleName(corner_->text());
  AdjustRows();
  PlaceCorner();
}

int TableView::RowHeight(std::uint32_t lines) const {
  const QFontMetrics metrics(font());
  return metrics.lineSpacing() * static_cast<int>(std::min(lines, kMostLines)) + 8;
}

// As wide as the title and the first rows need, within limits.
int TableView::ContentWidth(int section) const {
  const QFontMetrics metrics(font());
  const int padding = metrics.averageCharWidth() * 2 + 6;
  const int arrow = metrics.averageCharWidth() * 2;
  int width = metrics.horizontalAdvance(
                  items_.headerData(section, Qt::Horizontal, Qt::DisplayRole).toString()) +
              arrow;
  const int rows = std::min(items_.rowCount(), kMeasuredRows);
  for (int row = 0; row < rows; ++row) {
    const QString text = items_.data(items_.index(row, section)).toString();
    for (const QString& line : text.split(QLatin1Char('\n'))) {
      width = std::max(width, metrics.horizontalAdvance(line.left(qsizetype{2} * kMostCharacters)));
    }
  }
  return std::clamp(width, metrics.averageCharWidth() * kLeastCharacters,
                    metrics.averageCharWidth() * kMostCharacters) +
         padding;
}

void TableView::FitColumns() {
  const std::uint32_t first = items_.Table().FirstColumn();
  for (int section = 0; section < items_.columnCount(); ++section) {
    const auto width = items_.Table().Width(static_cast<std::uint32_t>(section) + first);
    const auto at = static_cast<std::size_t>(section);
    // What the user has made of it stays, until the script wants another width.
    if (at < fitted_.size() && fitted_[at] == width) continue;
    if (at >= fitted_.size()) fitted_.resize(at + 1);
    fitted_[at] = width;
    setColumnHidden(section, width == 0);
    if (width == 0) continue;
    constexpr long kWidest = 16000;
    setColumnWidth(section, width && *width > 0 ? static_cast<int>(std::min(*width, kWidest))
                                                : ContentWidth(section));
  }
  if (const auto width = items_.Table().Width(0); items_.Table().HasHandles() && width) {
    verticalHeader()->setVisible(*width != 0);
    if (*width > 0) verticalHeader()->setFixedWidth(static_cast<int>(std::min(*width, 1000L)));
  }
}

// Rows further down get their heights when they come into view.
void TableView::AdjustRows() {
  if (adjusting_) return;
  adjusting_ = true;
  const int rows = items_.rowCount();
  const int usual = RowHeight(1);
  int y = 0;
  for (int row = std::max(rowAt(0), 0); row < rows && y < viewport()->height(); ++row) {
    const std::uint32_t tableRow = items_.Seen().RowAt(static_cast<std::uint32_t>(row));
    const bool isExpanded = items_.Table().IsExpanded(tableRow);
    const int height = isExpanded ? RowHeight(items_.Table().LineCount(tableRow)) : usual;
    if (rowHeight(row) != height) setRowHeight(row, height);
    if (height != usual) tall_.insert(row);
    y += height;
  }
  adjusting_ = false;
}

void TableView::ExpandAll(bool expanded) {
  items_.Table().ExpandAll(expanded);
  const int usual = RowHeight(1);
  for (const int row : tall_) {
    if (row < items_.rowCount()) setRowHeight(row, usual);
  }
  tall_.clear();
  AdjustRows();
  viewport()->update();
}

void TableView::Expand(const QModelIndexList& indexes, bool expanded) {
  for (const QModelIndex& index : indexes) items_.Table().Expand(items_.RowOf(index), expanded);
  AdjustRows();
  viewport()->update();
}

std::optional<TableModel::RowId> TableView::IdOfCurrentRow() const {
  if (!currentIndex().isValid()) return std::nullopt;
  return items_.Table().IdOf(items_.RowOf(currentIndex()));
}

// Ascending, descending, as it came. What the header shows is no guide: it turns its arrow before
// it tells of the click.
void TableView::SortByHeader(int section) {
  if (!sorts_) return;
  const std::uint32_t column = static_cast<std::uint32_t>(section) + items_.Table().FirstColumn();
  const std::optional<TableItems::Sorting> sorting = items_.SortedBy();
  const bool isSame = sorting && sorting->column == column;
  const bool unsorts = isSame && sorting->descending;
  if (editable_) {
    const auto id = IdOfCurrentRow();
    if (unsorts) {
      items_.UnsortRows();
    } else {
      items_.SortRows(column, isSame);
    }
    // The user stays on the row that they were at, wherever it has gone.
    const TableModel& table = items_.Table();
    for (std::uint32_t row = 0; id && row < table.Rows(); ++row) {
      if (table.IdOf(row) != *id) continue;
      if (const auto place = items_.Seen().PlaceOf(row)) {
        GoTo(items_.index(static_cast<int>(*place), section));
      }
      break;
    }
    return;
  }
  const std::uint32_t current = currentIndex().isValid() ? items_.RowOf(currentIndex()) : 0;
  const int currentColumn = currentIndex().column();
  if (unsorts) {
    items_.Unsort();
  } else {
    items_.SortBy(column, isSame);
  }
  if (currentColumn < 0) return;
  if (const auto place = items_.Seen().PlaceOf(current)) {
    setCurrentIndex(items_.index(static_cast<int>(*place), currentColumn));
  }
}

void TableView::ForbidSorting() {
  sorts_ = false;
  horizontalHeader()->setSortIndicatorShown(false);
}

void TableView::ShowSorting() {
  const std::optional<TableItems::Sorting> sorting = items_.SortedBy();
  const int section =
      sorting ? static_cast<int>(sorting->column) - static_cast<int>(items_.Table().FirstColumn())
              : -1;
  horizontalHeader()->setSortIndicator(
      section, sorting && sorting->descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void TableView::GoTo(const QModelIndex& index) {
  if (!index.isValid()) return;
  setCurrentIndex(index);
  scrollTo(index, EnsureVisible);
}

std::string TableView::SelectionText(char separator) const {
  const QItemSelection selection = selectionModel()->selection();
  std::vector<std::uint32_t> rows;
  std::vector<std::uint32_t> columns;
  if (selection.isEmpty()) {
    rows = items_.Seen().AllRows();
    columns.resize(items_.Table().Columns());
    std::iota(columns.begin(), columns.end(), 0);
    return table_write::Delimited(items_.Table(), rows, columns, true, separator);
  }
  std::set<int> places;
  std::set<int> sections;
  for (const QItemSelectionRange& range : selection) {
    for (int row = range.top(); row <= range.bottom(); ++row) places.insert(row);
    for (int column = range.left(); column <= range.right(); ++column) sections.insert(column);
  }
  for (const int place : places) {
    if (rows.size() * sections.size() > kMostCopied) break;
    rows.push_back(items_.Seen().RowAt(static_cast<std::uint32_t>(place)));
  }
  for (const int section : sections) {
    if (isColumnHidden(section)) continue;
    columns.push_back(static_cast<std::uint32_t>(section) + items_.Table().FirstColumn());
  }
  return table_write::Delimited(items_.Table(), rows, columns, false, separator);
}

// Tabs, as spreadsheets and editors take them.
void TableView::CopySelection() const {
  QGuiApplication::clipboard()->setText(Shown(SelectionText('\t')));
}

bool TableView::FollowLink(const QModelIndex& index) {
  if (!index.isValid()) return false;
  const auto link = items_.Table().LinkAt(items_.RowOf(index), items_.ColumnOf(index));
  if (!link) return false;
  if (items_.Table().linkActivated) items_.Table().linkActivated(*link);
  if (linkFollowed) linkFollowed(*link);
  return true;
}

void TableView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    CopySelection();
    return;
  }
  const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (editable_ && isEnter) {
    // Edits the field instead of pressing the dialog's default button. The Enter that ends an edit
    // comes by here as well.
    if (state() != EditingState && currentIndex().isValid()) edit(currentIndex());
    return;
  }
  if (!editable_) {
    switch (event->key()) {
      case Qt::Key_Plus:
        return Expand(selectedIndexes(), true);
      case Qt::Key_Minus:
        return Expand(selectedIndexes(), false);
      case Qt::Key_Asterisk:
        return ExpandAll(true);
      case Qt::Key_Return:
      case Qt::Key_Enter:
        if (FollowLink(currentIndex())) return;
        break;
      default:
        break;
    }
  }
  QTableView::keyPressEvent(event);
}

// Tab while a field is edited takes the text and goes to the next field, without editing it: the
// next Tab leaves the table.
void TableView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
  const bool goesOn = hint == QAbstractItemDelegate::EditNextItem;
  const bool goesBack = hint == QAbstractItemDelegate::EditPreviousItem;
  QTableView::closeEditor(editor, goesOn || goesBack ? QAbstractItemDelegate::NoHint : hint);
  if (!goesOn && !goesBack) return;
  const QModelIndex from = currentIndex();
  const QModelIndex to = moveCursor(goesOn ? MoveNext : MovePrevious, Qt::NoModifier);
  // Behind the last field comes none.
  const bool isBeyond = goesOn ? to < from : from < to;
  if (!isBeyond) GoTo(to);
}

void TableView::mouseMoveEvent(QMouseEvent* event) {
  const QModelIndex at = indexAt(event->pos());
  const bool isLink =
      at.isValid() && items_.Table().LinkAt(items_.RowOf(at), items_.ColumnOf(at)).has_value();
  viewport()->setCursor(isLink ? Qt::PointingHandCursor : Qt::ArrowCursor);
  QTableView::mouseMoveEvent(event);
}

void TableView::mouseReleaseEvent(QMouseEvent* event) {
  QTableView::mouseReleaseEvent(event);
  if (event->button() != Qt::LeftButton || event->modifiers() != Qt::NoModifier) return;
  const QModelIndex at = indexAt(event->pos());
  if (at == currentIndex() && selectionModel()->selectedIndexes().size() <= 1) FollowLink(at);
}

void TableView::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  menu.addAction(QStringLiteral("&Copy"), this, [this] { CopySelection(); });
  menu.addAction(QStringLiteral("Copy as CS&V"), this,
                 [this] { QGuiApplication::clipboard()->setText(Shown(SelectionText(','))); });
  menu.addAction(QStringLiteral("Select &all"), this, [this] { selectAll(); });
  menu.addSeparator();
  menu.addAction(QStringLiteral("&Expand rows"), this, [this] { Expand(selectedIndexes(), true); });
  menu.addAction(QStringLiteral("&Shrink rows"), this,
                 [this] { Expand(selectedIndexes(), false); });
  menu.addAction(QStringLiteral("E&xpand all rows"), this, [this] { ExpandAll(true); });
  menu.addAction(QStringLiteral("Shrin&k all rows"), this, [this] { ExpandAll(false); });
  menu.exec(event->globalPos());
}

// The title of the handles stands in the corner, where the grid itself has nothing.
void TableView::PlaceCorner() {
  const int width = verticalHeader()->isVisible() ? verticalHeader()->width() : 0;
  const int height = horizontalHeader()->isVisible() ? horizontalHeader()->height() : 0;
  corner_->setGeometry(QStyle::visualRect(layoutDirection(), rect(),
                                          QRect(frameWidth(), frameWidth(), width, height)));
  corner_->setAlignment(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) |
                        Qt::AlignVCenter);
  corner_->setVisible(width > 0 && !corner_->text().isEmpty());
  corner_->raise();
  auto* const button = findChild<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly);
  if (button && items_.rowCount() == 0) button->hide();  // there is nothing to select
}

void TableView::updateGeometries() {
  QTableView::updateGeometries();
  PlaceCorner();
}

void TableView::resizeEvent(QResizeEvent* event) {
  QTableView::resizeEvent(event);
  AdjustRows();
}

void TableView::showEvent(QShowEvent* event) {
  QTableView::showEvent(event);
  AdjustRows();
}

// Another font means other heights and widths.
bool TableView::viewportEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange) {
    verticalHeader()->setDefaultSectionSize(RowHeight(1));
    tall_.clear();
    fitted_.clear();
    FitColumns();
  }
  return QTableView::viewportEvent(event);
}

}  // namespace ui
