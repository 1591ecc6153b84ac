#include "tavhost/qt/on_screen.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QMainWindow>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>
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

void StandButtonsInColumn(QWidget& window) {
  for (QDialogButtonBox* const box : window.findChildren<QDialogButtonBox*>()) {
    box->setOrientation(Qt::Vertical);
  }
}

// Puts all that stands in the window into an area that scrolls; it scrolls to what has the
// keyboard.
void ScrollAll(QWidget& window) {
  QLayout* const layout = window.layout();
  if (!layout) return;
  QWidget* const focus = window.focusWidget();
  auto* const area = new QScrollArea(&window);
  area->setFrameShape(QFrame::NoFrame);
  area->setFocusPolicy(Qt::NoFocus);
  area->setWidgetResizable(true);
  auto* const content = new QWidget;
  area->setWidget(content);
  content->setLayout(layout);
  auto* const around = new QVBoxLayout(&window);
  around->setContentsMargins(0, 0, 0, 0);
  around->addWidget(area);
  // Also from another area that scrolls in it, which looks to its own view only.
  QObject::connect(qApp, &QApplication::focusChanged, area, [area](QWidget*, QWidget* now) {
    if (now && area->widget()->isAncestorOf(now)) area->ensureWidgetVisible(now);
  });
  if (focus) focus->setFocus();
}

}  // namespace

QSize MostOnScreen(const QWidget& window) {
  return window.screen()->availableGeometry().size() - FrameOf(window);
}

QSize LeastSizeFor(const QWidget& window, const QSize& size) {
  const QLayout* const layout = window.layout();
  if (!layout) return size;
  QSize least = size.expandedTo(layout->totalMinimumSize());
  if (layout->hasHeightForWidth()) {
    least.setHeight(std::max(least.height(), layout->totalMinimumHeightForWidth(least.width())));
  }
  return least;
}

void ResizeOnScreen(QWidget& window, const QSize& size) {
  const QSize most = MostOnScreen(window);
  const QSize wanted = size.boundedTo(most);
  const auto fits = [&] {
    const QSize least = LeastSizeFor(window, wanted);
    return least.boundedTo(most) == least;
  };
  // Docks are laid out by their main window.
  if (!qobject_cast<QMainWindow*>(&window)) {
    if (!fits()) StandButtonsInColumn(window);
    if (!fits()) ScrollAll(window);
  }
  window.resize(LeastSizeFor(window, wanted).boundedTo(most));
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
