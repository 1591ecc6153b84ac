#include "tavhost/qt/on_screen.h"

#include <QAbstractButton>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QScreen>
#include <QStyle>
#include <algorithm>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kMostSpoken = 200;  // columns of a label, by a screen reader

constexpr qsizetype kMostTip = 2000;   // characters; a tip is to be smaller than the screen
constexpr qsizetype kMostLine = 1000;  // no screen shows more in a line

// A window that was never shown has no frame yet; this is about what window managers add.
QSize FrameOf(const QWidget& window) {
  const QSize known = window.frameGeometry().size() - window.size();
  const int title = window.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &window);
  return known.expandedTo(QSize(title / 2, title + title / 2));
}

}  // namespace

QSize MostOnScreen(const QWidget& window) {
  return window.screen()->availableGeometry().size() - FrameOf(window);
}

void ResizeOnScreen(QWidget& window, const QSize& size) {
  window.resize(size.boundedTo(MostOnScreen(window)));
}

void MoveOnScreen(QWidget& window, const QPoint& place) {
  const QScreen* const there = QGuiApplication::screenAt(place);
  const QRect screen = (there ? there : window.screen())->availableGeometry();
  const QSize size = window.size() + FrameOf(window);
  const auto bounded = [](int wanted, int begin, int length, int own) {
    return std::clamp(wanted, begin, begin + std::max(length - own, 0));
  };
  window.move(bounded(place.x(), screen.left(), screen.width(), size.width()),
              bounded(place.y(), screen.top(), screen.height(), size.height()));
}

void ShowLabel(QAbstractButton& button, const QString& text, int columns) {
  const QString shown = ElidedText(button, text, columns);
  button.setText(ShownLabel(shown.toStdString()));
  button.setToolTip(TipOf(text, shown));
  if (shown != text) button.setAccessibleName(ElidedText(button, text, kMostSpoken));
}

QString ElidedText(const QWidget& widget, const QString& text, int columns) {
  const QFontMetrics metrics = widget.fontMetrics();
  QString line = text.left(kMostLine);
  for (const char lineEnd : {'\r', '\n', '\t'})
    line.replace(QLatin1Char(lineEnd), QLatin1Char(' '));
  return metrics.elidedText(line, Qt::ElideRight, metrics.averageCharWidth() * columns);
}

QString TipOf(const QString& text, const QString& shown) {
  if (text == shown) return {};
  const QString tip = text.size() > kMostTip ? text.left(kMostTip) + QChar(0x2026) : text;
  // Escaped text is rich text, in which only this element keeps line ends; it wraps all the same.
  return QStringLiteral("<div style=\"white-space: pre-wrap\">%1</div>").arg(tip.toHtmlEscaped());
}

}  // namespace ui
