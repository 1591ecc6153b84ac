#include "tavhost/qt/table_print.h"

#include <QApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QPrintDialog>
#include <QPrinter>
#include <QStyle>
#include <algorithm>
#include <functional>
#include <numeric>
#include <vector>

#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/table_items.h"
#include "tavhost/qt/text_direction.h"

namespace ui {

namespace {

constexpr double kTextPoints = 9;
constexpr double kHeaderPoints = 11;
constexpr double kMarginPoints = 40;
constexpr double kPadPoints = 3;
constexpr std::uint32_t kMeasuredRows = 2000;  // for the widths of columns
constexpr qsizetype kMostCharacters = 4000;    // of a field

// Goes over a table page by page. Lengths are the device's dots.
class Pages {
 public:
  Pages(const TableArrangement& seen, const QString& title, const QPaintDevice& device)
      : seen_(seen),
        table_(seen.Table()),
        paper_(device.width(), device.height()),
        dots_(device.logicalDpiX() / 72.0),
        font_(QApplication::font().family()),
        headerFont_(font_) {
    font_.setPointSizeF(kTextPoints);
    headerFont_.setPointSizeF(kHeaderPoints);
    headerFont_.setBold(true);
    const std::string& given = table_.printHeader.empty() ? table_.header : table_.printHeader;
    header_ = given.empty() ? title : Shown(given);
    for (std::uint32_t column = 0; column < table_.Columns(); ++column) {
      if (table_.Width(column) != 0) columns_.push_back(column);
    }
  }

  int Run(QPainter& painter, const std::function<void()>& newPage) {
    painter_ = &painter;
    painter_->setPen(Qt::black);
    Measure();
    const int count = Draw(nullptr, 0);
    Draw(&newPage, count);
    return count;
  }

 private:
  double Margin() const { return kMarginPoints * dots_; }
  double Pad() const { return kPadPoints * dots_; }
  double Width() const { return paper_.width() - 2 * Margin(); }
  double Bottom() const { return paper_.height() - Margin() - 16 * dots_; }
  double LineHeight() const { return kTextPoints * 1.4 * dots_; }
  double HeaderHeight() const { return kHeaderPoints * 2 * dots_; }

  QString Cell(std::uint32_t row, std::uint32_t column) const {
    return Shown(table_.Text(row, column)).left(kMostCharacters);
  }
  QString Title(std::uint32_t column) const {
    std::string scratch;
    return Shown(table_.Title(column, scratch)).left(kMostCharacters);
  }

  double TextWidth(const QString& text) const {
    double width = 0;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
      width = std::max(width, painter_->boundingRect(QRectF(), Qt::TextSingleLine, line).width());
    }
    return width + 2 * Pad() + dots_;
  }

  // What each column needs; where that is more than there is, wide columns give way.
  void Measure() {
    painter_->setFont(font_);
    for (const std::uint32_t column : columns_) {
      double width = TextWidth(Title(column)) * 1.1;
      for (std::uint32_t i = 0; i < std::min(seen_.Rows(), kMeasuredRows); ++i) {
        width = std::max(width, TextWidth(Cell(seen_.RowAt(i), column)));
      }
      widths_.push_back(width);
    }
    double total = std::accumulate(widths_.begin(), widths_.end(), 0.0);
    if (total <= Width() || columns_.empty()) return;
    // Columns below the fair share keep what they need.
    std::vector<std::size_t> wide(columns_.size());
    std::iota(wide.begin(), wide.end(), std::size_t{0});
    double left = Width();
    for (bool changed = true; changed && !wide.empty();) {
      changed = false;
      const double share = left / static_cast<double>(wide.size());
      for (auto at = wide.begin(); at != wide.end();) {
        if (widths_[*at] > share) {
          ++at;
          continue;
        }
        left -= widths_[*at];
        at = wide.erase(at);
        changed = true;
      }
    }
    for (const std::size_t at : wide) widths_[at] = left / static_cast<double>(wide.size());
  }

  // On the side of the page where it stands: from right to left the first column is the right one.
  QRectF Placed(QRectF area) const {
    if (direction_ == Qt::RightToLeft) area.moveLeft(paper_.width() - area.right());
    return area;
  }

  void DrawText(const QRectF& area, int flags, const QString& text) const {
    constexpr int kPlace = Qt::AlignHorizontal_Mask;
    const auto place = QStyle::visualAlignment(direction_, Qt::Alignment(flags & kPlace));
    painter_->setLayoutDirection(DirectionOf(text).value_or(direction_));
    painter_->drawText(area, (flags & ~kPlace) | static_cast<int>(place), text);
  }

  static int Flags(TableAlignment alignment) {
    return static_cast<int>(AlignmentOf(alignment) | Qt::AlignTop) | Qt::TextWrapAnywhere;
  }

  double FieldHeight(const QString& text, std::size_t at) const {
    const double width = widths_[at] - 2 * Pad();
    // Short texts, which most are, need no measuring.
    const bool isShort = !text.contains(QLatin1Char('\n')) &&
                         static_cast<double>(text.size()) * kTextPoints * dots_ < width;
    if (isShort) return LineHeight();
    const double lines =
        painter_->boundingRect(QRectF(0, 0, width, 1e7), Qt::TextWrapAnywhere, text).height();
    return std::max(LineHeight(), lines + 2 * dots_);
  }

  template <typename Text>
  double LineOfFields(double y, bool draws, Text text) const {
    double height = LineHeight();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      height = std::max(height, FieldHeight(text(columns_[i]), i));
    }
    height = std::min(height, Bottom() - FirstRow());
    if (!draws) return height;
    double x = Margin();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const QRectF field =
          Placed({x + Pad(), y + dots_, widths_[i] - 2 * Pad(), height - 2 * dots_});
      painter_->setClipRect(field.adjusted(-dots_, -dots_, dots_, dots_));
      DrawText(field, Flags(table_.Alignment(columns_[i])), text(columns_[i]));
      x += widths_[i];
    }
    painter_->setClipping(false);
    return height;
  }

  double FirstRow() const { return Margin() + HeaderHeight() + 2 * LineHeight(); }

  void Rule(double y, double weight) const {
    const double total = std::accumulate(widths_.begin(), widths_.end(), 0.0);
    painter_->setPen(QPen(Qt::black, weight * dots_));
    const QRectF line = Placed({Margin(), y, total, 0});
    painter_->drawLine(line.topLeft(), line.topRight());
    painter_->setPen(Qt::black);
  }

  // The header, the titles and the page's number. Returns where the rows begin.
  double Head(int page, int count, bool draws) const {
    double y = Margin();
    if (draws) {
      painter_->setFont(headerFont_);
      DrawText(QRectF(Margin(), y, Width(), HeaderHeight()),
               Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, header_);
      painter_->setFont(font_);
      DrawText(QRectF(Margin(), Bottom() + 4 * dots_, Width(), LineHeight()), Qt::AlignRight,
               QStringLiteral("Page %1 of %2").arg(page).arg(count));
    }
    y += HeaderHeight();
    if (columns_.empty()) return y;
    QFont bold = font_;
    bold.setBold(true);
    painter_->setFont(bold);
    const double height =
        std::min(LineOfFields(y, false, [this](std::uint32_t column) { return Title(column); }),
                 2 * LineHeight());
    if (draws) LineOfFields(y, true, [this](std::uint32_t column) { return Title(column); });
    painter_->setFont(font_);
    if (draws) Rule(y + height + dots_, 0.75);
    return y + height + 3 * dots_;
  }

  // Only counts the pages when there is nothing that makes a new one.
  int Draw(const std::function<void()>* newPage, int count) {
    const bool draws = newPage != nullptr;
    int page = 1;
    double y = Head(page, count, draws);
    for (std::uint32_t place = 0; place < seen_.Rows(); ++place) {
      const std::uint32_t row = seen_.RowAt(place);
      const auto text = [&](std::uint32_t column) { return Cell(row, column); };
      const double height = LineOfFields(y, false, text);
      if (y + height > Bottom()) {
        ++page;
        if (draws) (*newPage)();
        y = Head(page, count, draws);
      }
      if (draws) {
        LineOfFields(y, true, text);
        Rule(y + height, 0.2);
      }
      y += height;
    }
    return page;
  }

  const TableArrangement& seen_;
  const TableModel& table_;
  const Qt::LayoutDirection direction_ = QGuiApplication::layoutDirection();
  QSizeF paper_;
  double dots_;  // of a point
  QFont font_;
  QFont headerFont_;
  QString header_;
  std::vector<std::uint32_t> columns_;
  std::vector<double> widths_;
  QPainter* painter_ = nullptr;
};

}  // namespace

int PrintTable(const TableArrangement& seen, const QString& title, QPaintDevice& device,
               const std::function<void()>& newPage) {
  QPainter painter(&device);
  if (!painter.isActive()) return 0;
  return Pages(seen, title, device).Run(painter, newPage);
}

void PrintTableWithDialog(const TableArrangement& seen, const QString& title, QWidget* parent) {
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(title);
  QPrintDialog dialog(&printer, parent);
  if (dialog.exec() != QDialog::Accepted) return;
  QGuiApplication::setOverrideCursor(Qt::WaitCursor);
  PrintTable(seen, title, printer, [&printer] { printer.newPage(); });
  QGuiApplication::restoreOverrideCursor();
}

bool WriteTablePdf(const TableArrangement& seen, const QString& title, const QString& file) {
  QPdfWriter writer(file);
  writer.setTitle(title);
  writer.setPageSize(QPageSize(QPageSize::A4));
  writer.setPageMargins(QMarginsF());
  return PrintTable(seen, title, writer, [&writer] { writer.newPage(); }) > 0;
}

}  // namespace ui
