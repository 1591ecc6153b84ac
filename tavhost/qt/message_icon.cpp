#include "tavhost/qt/message_icon.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyle>

namespace ui {

namespace {

constexpr qreal kSide = 100;  // of the square in which signs are drawn

const char* NameOf(MessageKind kind) {
  switch (kind) {
    case MessageKind::kError:
      return "Error";
    case MessageKind::kWarning:
      return "Warning";
    case MessageKind::kQuery:
      return "Question";
    case MessageKind::kInfo:
      break;
  }
  return "Information";
}

QColor ColourOf(MessageKind kind) {
  switch (kind) {
    case MessageKind::kError:
      return QColor(0xc6, 0x28, 0x28);
    case MessageKind::kWarning:
      return QColor(0xf9, 0xa8, 0x25);
    case MessageKind::kQuery:
    case MessageKind::kInfo:
      break;
  }
  return QColor(0x1e, 0x6f, 0xc8);
}

// A triangle whose corners are round.
void DrawTriangle(QPainter& painter, const QColor& colour) {
  painter.setPen(QPen(colour, 14, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPolygon(QPolygonF({{50, 14}, {91, 86}, {9, 86}}));
}

// A stem and its dot, the dot above (an i) or below (an exclamation mark).
void DrawStem(QPainter& painter, qreal stemFrom, qreal stemTo, qreal dot) {
  painter.setPen(QPen(painter.pen().color(), 11, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(50, stemFrom), QPointF(50, stemTo));
  painter.drawPoint(QPointF(50, dot));
}

void DrawQuestionMark(QPainter& painter) {
  QPainterPath hook(QPointF(34, 37));
  hook.cubicTo(35, 13, 67, 15, 66, 37);
  hook.cubicTo(66, 49, 50, 49, 50, 62);
  painter.setPen(QPen(Qt::white, 10, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(hook);
  painter.drawPoint(QPointF(50, 79));
}

}  // namespace

MessageIcon::MessageIcon(MessageKind kind, QWidget* parent) : QWidget(parent), kind_(kind) {
  const int side = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
  setFixedSize(side, side);
  setAccessibleName(QString::fromLatin1(NameOf(kind)));
}

void MessageIcon::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(width() / kSide, height() / kSide);
  const QColor colour = ColourOf(kind_);
  painter.setBrush(colour);
  if (kind_ == MessageKind::kWarning) {
    DrawTriangle(painter, colour);
    painter.setPen(QColor(0x2b, 0x2b, 0x2b));
    return DrawStem(painter, 36, 60, 77);
  }
  painter.setPen(Qt::NoPen);
  painter.drawEllipse(QRectF(3, 3, kSide - 6, kSide - 6));
  painter.setPen(Qt::white);
  switch (kind_) {
    case MessageKind::kError:
      painter.setPen(QPen(Qt::white, 11, Qt::SolidLine, Qt::RoundCap));
      painter.drawLine(QPointF(33, 33), QPointF(67, 67));
      painter.drawLine(QPointF(67, 33), QPointF(33, 67));
      return;
    case MessageKind::kQuery:
      return DrawQuestionMark(painter);
    default:
      return DrawStem(painter, 47, 75, 27);
  }
}

}  // namespace ui
