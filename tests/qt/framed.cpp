#include "tests/qt/framed.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace {

constexpr int kTitleHeight = 30;
constexpr int kBorder = 1;
constexpr qreal kRadius = 8;

}  // namespace

QImage Framed(const QPixmap& window, const QString& title) {
  QImage image(window.width() + 2 * kBorder, window.height() + kTitleHeight + kBorder,
               QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  const QRectF area = QRectF(image.rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  QPainterPath frame;  // round at the top only
  frame.moveTo(area.bottomLeft());
  frame.lineTo(area.left(), area.top() + kRadius);
  frame.quadTo(area.topLeft(), QPointF(area.left() + kRadius, area.top()));
  frame.lineTo(area.right() - kRadius, area.top());
  frame.quadTo(area.topRight(), QPointF(area.right(), area.top() + kRadius));
  frame.lineTo(area.bottomRight());
  frame.closeSubpath();
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QColor(0xa8, 0xad, 0xb5));
  painter.setBrush(QColor(0xdf, 0xe2, 0xe7));
  painter.drawPath(frame);
  QFont font = QApplication::font();
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(QColor(0x33, 0x37, 0x3d));
  painter.drawText(QRect(0, 0, image.width(), kTitleHeight), Qt::AlignCenter, title);
  painter.drawPixmap(kBorder, kTitleHeight, window);
  return image;
}
