#include "tavhost/qt/wrapping_row.h"

#include <QEvent>
#include <QStyle>
#include <algorithm>
#include <limits>

#include "tavhost/qt/on_screen.h"

namespace ui {

namespace {

constexpr int kUsualWidth = 480;  // a window as wide as that looks well on every screen
constexpr int kGap = 6;
constexpr int kMargins = 40;  // what stands beside a row in a window

int Gap(const QStyle& style) {
  const int gap = style.pixelMetric(QStyle::PM_LayoutHorizontalSpacing);
  return gap > 0 ? gap : kGap;  // it is below zero where it depends on what stands there
}

QSize SizeOf(const QWidget& widget) {
  return widget.sizeHint().expandedTo(widget.minimumSize()).boundedTo(widget.maximumSize());
}

}  // namespace

WrappingRow::WrappingRow(Wraps wraps, QWidget* parent)
    : QWidget(parent), wraps_(wraps), gap_(Gap(*style())) {
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void WrappingRow::AddLeading(QWidget* widget) {
  widget->setParent(this);
  leading_.push_back(widget);
  updateGeometry();
}

void WrappingRow::Add(QWidget* widget) {
  widget->setParent(this);
  others_.push_back(widget);
  updateGeometry();
}

std::vector<QWidget*> WrappingRow::Visible() const {
  std::vector<QWidget*> shown = leading_;
  shown.insert(shown.end(), others_.begin(), others_.end());
  std::erase_if(shown, [](const QWidget* widget) { return widget->isHidden(); });
  return shown;
}

std::vector<WrappingRow::Line> WrappingRow::Lines(int width) const {
  std::vector<Line> lines;
  for (QWidget* const widget : Visible()) {
    const QSize size = SizeOf(*widget);
    if (lines.empty() || lines.back().width + gap_ + size.width() > width) lines.emplace_back();
    Line& line = lines.back();
    if (line.width > 0) line.width += gap_;
    line.width += size.width();
    line.height = std::max(line.height, size.height());
    const bool leads = std::find(leading_.begin(), leading_.end(), widget) != leading_.end();
    (leads ? line.leading : line.others).push_back(widget);
  }
  return lines;
}

int WrappingRow::Room() const {
  if (wraps_ == Wraps::kInWindow) return 0;
  const int most = MostOnScreen(*window()).width() - kMargins;
  return std::max(most / 2, std::min(most, kUsualWidth));
}

int WrappingRow::HeightOf(int width) const {
  int height = 0;
  for (const Line& line : Lines(width)) height += (height > 0 ? gap_ : 0) + line.height;
  return height;
}

QSize WrappingRow::sizeHint() const {
  int width = 0;
  for (const Line& line : Lines(std::numeric_limits<int>::max() / 2)) width = line.width;
  if (wraps_ == Wraps::kOnScreen) width = minimumSizeHint().width();
  return QSize(width, HeightOf(width));
}

QSize WrappingRow::minimumSizeHint() const {
  int width = 0;
  for (const Line& line : Lines(Room())) width = std::max(width, line.width);
  return QSize(width, HeightOf(std::max(this->width(), width)));
}

// As high as the lines of the width that it has: the window grows with it.
void WrappingRow::Arrange() {
  const int needed = HeightOf(width());
  if (minimumHeight() != needed) setMinimumHeight(needed);
  int y = 0;
  const auto place = [this, &y](QWidget& widget, int x, int height) {
    const QSize size = SizeOf(widget);
    const QRect spot(QPoint(x, y + (height - size.height()) / 2), size);
    widget.setGeometry(QStyle::visualRect(layoutDirection(), rect(), spot));
  };
  for (const Line& line : Lines(width())) {
    int x = 0;
    for (QWidget* const widget : line.leading) {
      place(*widget, x, line.height);
      x += SizeOf(*widget).width() + gap_;
    }
    x = width();
    for (auto it = line.others.rbegin(); it != line.others.rend(); ++it) {
      x -= SizeOf(**it).width();
      place(**it, x, line.height);
      x -= gap_;
    }
    y += line.height + gap_;
  }
}

bool WrappingRow::event(QEvent* event) {
  switch (event->type()) {
    case QEvent::LayoutRequest:  // one of them has another size, or was shown or hidden
    case QEvent::StyleChange:
    case QEvent::FontChange:
    case QEvent::LayoutDirectionChange:
      updateGeometry();
      Arrange();
      break;
    default:
      break;
  }
  return QWidget::event(event);
}

void WrappingRow::resizeEvent(QResizeEvent*) { Arrange(); }

}  // namespace ui
