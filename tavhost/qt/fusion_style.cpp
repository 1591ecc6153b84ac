#include "tavhost/qt/fusion_style.h"

#include <QPainter>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>

namespace ui {

namespace {

constexpr char kFusion[] = "fusion";

// Fusion draws the frame of a check box darker than its window, so that on a dark window it cannot
// be seen; here it is lighter there.
class FusionStyle final : public QProxyStyle {
 public:
  FusionStyle() : QProxyStyle(QStyleFactory::create(QLatin1String(kFusion))) {
    setObjectName(QLatin1String(kFusion));
  }

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
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
};

}  // namespace

QStyle* MakeStyle(const QString& name) {
  if (name.compare(QLatin1String(kFusion), Qt::CaseInsensitive) == 0) return new FusionStyle;
  return QStyleFactory::create(name);
}

}  // namespace ui
