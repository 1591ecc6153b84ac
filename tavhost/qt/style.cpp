#include "tavhost/qt/style.h"

#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

#include "tavhost/qt/readable_palette.h"
#include "tavhost/qt/text_direction.h"

namespace ui {

namespace {

constexpr char kFusion[] = "fusion";

// Styles lay texts out in the direction of the window: "Save…" comes out as "…Save" in one from
// right to left, and the full stop of a Hebrew text stands before it in one from left to right.
class Style : public QProxyStyle {
 public:
  explicit Style(const QString& name) : QProxyStyle(QStyleFactory::create(name)) {
    setObjectName(name);
  }

  using QProxyStyle::polish;
  // Colours of the desktop, or those that a style brings along: selections too pale for their text.
  void polish(QPalette& palette) override {
    QProxyStyle::polish(palette);
    MakeReadable(palette);
  }

  void drawItemText(QPainter* painter, const QRect& area, int flags, const QPalette& palette,
                    bool enabled, const QString& text, QPalette::ColorRole role) const override {
    constexpr int kForced = Qt::TextForceLeftToRight | Qt::TextForceRightToLeft;
    if (const auto direction = DirectionOf(text); direction && (flags & kForced) == 0) {
      // Where it stands is still the window's.
      constexpr int kPlace = Qt::AlignHorizontal_Mask;
      const auto place = visualAlignment(painter->layoutDirection(), Qt::Alignment(flags & kPlace));
      flags = (flags & ~kPlace) | static_cast<int>(place);
      flags |= *direction == Qt::RightToLeft ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
    }
    QProxyStyle::drawItemText(painter, area, flags, palette, enabled, text, role);
  }

  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override {
    const auto* const item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
    if (element != CE_ItemViewItem || !item) {
      return QProxyStyle::drawControl(element, option, painter, widget);
    }
    QStyleOptionViewItem apart(*item);
    apart.text = InOwnDirection(item->text, item->direction);
    QProxyStyle::drawControl(element, &apart, painter, widget);
  }
};

class FusionStyle final : public Style {
 public:
  FusionStyle() : Style(QLatin1String(kFusion)) {}

  // Fusion draws the frame of a check box darker than its window, so that on a dark window it
  // cannot be seen; here it is lighter there.
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    Style::drawPrimitive(element, option, painter, widget);
    constexpr int kMiddle = 128;
    if ((element != PE_IndicatorCheckBox && element != PE_IndicatorItemViewItemCheck) ||
        option->palette.color(QPalette::Base).lightness() >= kMiddle) {
      return;
    }
    QColor frame = option->palette.color(QPalette::Text);
    frame.setAlpha(option->state & State_Enabled ? 140 : 60);
    painter->save();
    painter->setPen(frame);
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), 1.5, 1.5);
    painter->restore();
  }

  // Fusion takes a bar that grows from the right for filled on the left when it chooses the colours
  // of the text on it, which are then those of what they stand on. The text is a number, which
  // reads from left to right everywhere.
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override {
    const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option);
    if (element != CE_ProgressBarLabel || !bar || bar->direction != Qt::RightToLeft) {
      return Style::drawControl(element, option, painter, widget);
    }
    constexpr char16_t kLeftToRightMark = 0x200E;
    QStyleOptionProgressBar turned(*bar);
    turned.progress = bar->minimum + bar->maximum - bar->progress;
    turned.text = QChar(kLeftToRightMark) + bar->text + QChar(kLeftToRightMark);
    Style::drawControl(element, &turned, painter, widget);
  }
};

}  // namespace

QStyle* MakeStyle(const QString& name) {
  if (name.compare(QLatin1String(kFusion), Qt::CaseInsensitive) == 0) return new FusionStyle;
  return new Style(name);
}

}  // namespace ui
