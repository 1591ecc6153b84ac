#include "tavhost/qt/ide/run_icons.h"

#include <QPainter>
#include <QPixmap>
#include <functional>

namespace ui::ide_view {

namespace {

// For screens with one and with two dots a pixel.
QIcon Painted(int side, const QColor& colour, const std::function<void(QPainter&, qreal)>& paint) {
  QIcon icon;
  for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled}) {
    for (const int scale : {1, 2}) {
      QPixmap picture(side * scale, side * scale);
      picture.setDevicePixelRatio(scale);
      picture.fill(Qt::transparent);
      QPainter painter(&picture);
      painter.setRenderHint(QPainter::Antialiasing);
      painter.setPen(Qt::NoPen);
      painter.setBrush(mode == QIcon::Disabled ? QColor(0x8a, 0x90, 0x99, 0x90) : colour);
      paint(painter, side);
      painter.end();
      icon.addPixmap(picture, mode);
    }
  }
  return icon;
}

}  // namespace

QIcon RunIcon(int side) {
  return Painted(side, QColor(0x2e, 0x9e, 0x4f), [](QPainter& painter, qreal size) {
    painter.drawPolygon(QPolygonF(
        {{size * 0.22, size * 0.12}, {size * 0.88, size * 0.5}, {size * 0.22, size * 0.88}}));
  });
}

QIcon StopIcon(int side) {
  return Painted(side, QColor(0xd1, 0x45, 0x45), [](QPainter& painter, qreal size) {
    painter.drawRoundedRect(QRectF(size * 0.18, size * 0.18, size * 0.64, size * 0.64), 2, 2);
  });
}

}  // namespace ui::ide_view
