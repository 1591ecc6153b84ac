#include "tavhost/qt/fitting_tree_view.h"

#include <QHeaderView>
#include <QScrollBar>
#include <algorithm>
#include <utility>

namespace ui {

namespace {

constexpr int kMeasuredRows = 200;
constexpr int kMostCharacters = 60;  // of a column that nobody has pulled, where there are several
constexpr int kLeastCharacters = 3;
constexpr int kWidest = 16000;  // pixels

}  // namespace

FittingTreeView::FittingTreeView() {
  soon_.setSingleShot(true);
  soon_.setInterval(0);
  QObject::connect(&soon_, &QTimer::timeout, this, [this] { FitNow(); });
  QObject::connect(this, &QTreeView::expanded, this, [this] { FitColumnsSoon(); });
  QObject::connect(this, &QTreeView::collapsed, this, [this] { FitColumnsSoon(); });
  QObject::connect(verticalScrollBar(), &QScrollBar::valueChanged, this,
                   [this] { FitSoon(Fit::kWider); });
  QObject::connect(header(), &QHeaderView::sectionResized, this,
                   [this](int column, int, int width) {
                     if (fitting_) return;
                     pulled_[static_cast<std::size_t>(column)] = width;
                     FitSoon(Fit::kWider);
                   });
  QObject::connect(header(), &QHeaderView::sectionHandleDoubleClicked, this, [this](int column) {
    pulled_[static_cast<std::size_t>(column)] = 0;
    FitColumnsSoon();
  });
}

void FittingTreeView::SetUpColumns() {
  const auto columns = static_cast<std::size_t>(model()->columnCount());
  needed_.assign(columns, 0);
  pulled_.assign(columns, 0);
  setHeaderHidden(columns == 1);
  header()->setResizeContentsPrecision(kMeasuredRows);
  header()->setStretchLastSection(false);  // done here, which gives it what it needs as well
  header()->setSectionsMovable(false);
  header()->setMinimumSectionSize(fontMetrics().averageCharWidth() * kLeastCharacters);
  // It has no titles: room to pull at is enough.
  header()->setFixedHeight(fontMetrics().height() * 3 / 4);
}

void FittingTreeView::FitColumns() {
  wanted_ = Fit::kExactly;
  FitNow();
}

void FittingTreeView::FitColumnsSoon() { FitSoon(Fit::kExactly); }

void FittingTreeView::FitSoon(Fit fit) {
  if (fit == Fit::kExactly) wanted_ = fit;
  soon_.start();
}

void FittingTreeView::FitNow() {
  soon_.stop();
  MeasureColumns(std::exchange(wanted_, Fit::kWider));
  SetWidths();
}

// Of the rows in sight, and some beyond; without rows there is nothing to measure.
void FittingTreeView::MeasureColumns(Fit fit) {
  const bool hasSeveral = needed_.size() > 1;
  const int character = fontMetrics().averageCharWidth();
  const int most =
      hasSeveral ? std::max(viewport()->width(), character * kMostCharacters) : kWidest;
  for (std::size_t column = 0; column < needed_.size(); ++column) {
    int needed = sizeHintForColumn(static_cast<int>(column));
    if (needed < 0) continue;
    if (hasSeveral) needed += character;  // keeps neighbours apart
    if (fit == Fit::kWider) needed = std::max(needed, needed_[column]);
    needed_[column] = std::min(needed, most);
  }
}

// A scroll bar that comes or goes with the widths changes the room for them, once.
void FittingTreeView::SetWidths() {
  constexpr int kMostTries = 3;
  fitting_ = true;
  for (int tries = 0; tries < kMostTries; ++tries) {
    const int room = viewport()->width();
    int left = room;
    for (std::size_t column = 0; column < needed_.size(); ++column) {
      int width = std::max(needed_[column], header()->minimumSectionSize());
      if (pulled_[column] > 0) {
        width = pulled_[column];
      } else if (column + 1 == needed_.size()) {
        width = std::max(width, left);
      }
      setColumnWidth(static_cast<int>(column), width);
      left -= width;
    }
    updateGeometries();  // the view itself would wait with it, and be seen before
    if (viewport()->width() == room) break;
  }
  fitting_ = false;
}

void FittingTreeView::resizeEvent(QResizeEvent* event) {
  QTreeView::resizeEvent(event);
  if (fitting_) return;
  SetWidths();
  FitSoon(Fit::kWider);  // there may be more rows in sight
}

}  // namespace ui
