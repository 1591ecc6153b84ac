#include "tests/qt/window_faults.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QScreen>
#include <QScrollBar>
#include <QSplitterHandle>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

namespace {

constexpr int kMostTabs = 60;           // more stops than any window has
constexpr double kLeastContrast = 4.5;  // of a text that can be read

QString NameOf(const QWidget& widget) {
  QString name = QString::fromLatin1(widget.metaObject()->className());
  QString text = widget.objectName();
  if (const auto* const button = qobject_cast<const QAbstractButton*>(&widget)) {
    if (text.isEmpty()) text = button->text();
  } else if (const auto* const label = qobject_cast<const QLabel*>(&widget)) {
    if (text.isEmpty()) text = label->text();
  }
  constexpr int kMostCharacters = 24;
  text = text.simplified().left(kMostCharacters);
  return text.isEmpty() ? name : name + QStringLiteral(" \"") + text + QLatin1Char('"');
}

// The area that scrolls the widget into view, if one does.
QAbstractScrollArea* ScrollAreaAround(const QWidget& widget, const QWidget& window) {
  for (QWidget* above = widget.parentWidget(); above && above != &window;
       above = above->parentWidget()) {
    if (auto* const area = qobject_cast<QAbstractScrollArea*>(above)) return area;
  }
  return nullptr;
}

bool IsInsideOfAnother(const QWidget& widget) {
  return qobject_cast<const QScrollBar*>(&widget) || qobject_cast<const QHeaderView*>(&widget) ||
         qobject_cast<const QSplitterHandle*>(&widget) ||
         qobject_cast<const QLineEdit*>(widget.parentWidget()) ||
         qobject_cast<const QComboBox*>(widget.parentWidget()) ||
         qobject_cast<const QAbstractSpinBox*>(widget.parentWidget()) ||
         qobject_cast<const QAbstractItemView*>(widget.parentWidget());
}

// What a person reads or works with, each once: no frames, no parts of other widgets.
std::vector<QWidget*> PartsOf(QWidget& window) {
  std::vector<QWidget*> parts;
  for (QWidget* const widget : window.findChildren<QWidget*>()) {
    if (!widget->isVisible() || widget->isWindow() || IsInsideOfAnother(*widget)) continue;
    const bool isPart =
        qobject_cast<QLabel*>(widget) || qobject_cast<QAbstractButton*>(widget) ||
        qobject_cast<QLineEdit*>(widget) || qobject_cast<QComboBox*>(widget) ||
        qobject_cast<QProgressBar*>(widget) ||
        (qobject_cast<QAbstractScrollArea*>(widget) && !widget->inherits("QScrollArea"));
    if (isPart) parts.push_back(widget);
  }
  return parts;
}

QRect RectIn(const QWidget& widget, const QWidget& window) {
  return QRect(widget.mapTo(&window, QPoint(0, 0)), widget.size());
}

QString Text(const QRect& rect) {
  return QStringLiteral("%1,%2 %3x%4")
      .arg(rect.x())
      .arg(rect.y())
      .arg(rect.width())
      .arg(rect.height());
}

void FindOffTheScreen(const QWidget& window, QStringList& faults) {
  const QRect screen = window.screen()->availableGeometry();
  if (!screen.contains(window.frameGeometry())) {
    faults << QStringLiteral("the window is at %1, the screen %2")
                  .arg(Text(window.frameGeometry()), Text(screen));
  }
}

void FindOutside(const QWidget& window, const std::vector<QWidget*>& parts, QStringList& faults) {
  for (const QWidget* const part : parts) {
    if (ScrollAreaAround(*part, window)) continue;
    if (!window.rect().contains(RectIn(*part, window))) {
      faults << NameOf(*part) + QStringLiteral(" lies at %1, outside the window of %2")
                                    .arg(Text(RectIn(*part, window)), Text(window.rect()));
    }
  }
}

// A text that is shortened in view of all has to be there in full somewhere.
bool IsElidedWithTip(const QString& shown, const QWidget& widget) {
  return shown.contains(QChar(0x2026)) && !widget.toolTip().isEmpty();
}

// How much room a part needs, and which directions count.
void FindCut(const QWidget& part, QStringList& faults) {
  QSize needed;
  if (const auto* const label = qobject_cast<const QLabel*>(&part)) {
    if (label->text().isEmpty() && label->pixmap().isNull()) return;
    if (IsElidedWithTip(label->text(), part)) return;
    const int height = label->wordWrap() ? label->heightForWidth(label->width()) : 0;
    needed = QSize(label->minimumSizeHint().width(),
                   height > 0 ? height : label->minimumSizeHint().height());
    if (!label->wordWrap()) needed.setWidth(label->sizeHint().width());
  } else if (const auto* const button = qobject_cast<const QAbstractButton*>(&part)) {
    if (IsElidedWithTip(button->text(), part)) return;
    const bool isIcon = !button->icon().isNull() && part.inherits("QToolButton");
    needed = isIcon ? button->iconSize() : button->minimumSizeHint();
  } else if (qobject_cast<const QLineEdit*>(&part) || qobject_cast<const QComboBox*>(&part)) {
    needed = QSize(part.fontMetrics().averageCharWidth() * 8, part.minimumSizeHint().height());
  } else if (qobject_cast<const QAbstractScrollArea*>(&part)) {
    needed =
        QSize(part.fontMetrics().averageCharWidth() * 12, part.fontMetrics().lineSpacing() * 2);
  }
  if (part.width() < needed.width() || part.height() < needed.height()) {
    faults << NameOf(part) + QStringLiteral(" has %1x%2 and needs %3x%4")
                                 .arg(part.width())
                                 .arg(part.height())
                                 .arg(needed.width())
                                 .arg(needed.height());
  }
}

void FindCovered(const QWidget& window, const std::vector<QWidget*>& parts, QStringList& faults) {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    for (std::size_t k = i + 1; k < parts.size(); ++k) {
      if (parts[i]->isAncestorOf(parts[k]) || parts[k]->isAncestorOf(parts[i])) continue;
      if (ScrollAreaAround(*parts[i], window) != ScrollAreaAround(*parts[k], window)) continue;
      if (RectIn(*parts[i], window).intersects(RectIn(*parts[k], window))) {
        faults << NameOf(*parts[i]) + QStringLiteral(" and ") + NameOf(*parts[k]) +
                      QStringLiteral(" cover each other");
      }
    }
  }
}

double Luminance(QRgb colour) {
  const auto linear = [](int channel) {
    const double value = channel / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) +
         0.0722 * linear(qBlue(colour));
}

double Contrast(QRgb one, QRgb other) {
  const double a = Luminance(one);
  const double b = Luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

// The text of a part that draws nothing but its text on a ground of one colour.
bool HasPlainText(const QWidget& part) {
  const auto* const label = qobject_cast<const QLabel*>(&part);
  return label && label->isEnabled() && !label->text().simplified().isEmpty();
}

// From the picture: the text is drawn, and stands out against its ground.
void FindUnreadable(const QImage& picture, const QWidget& window, const QWidget& part,
                    QStringList& faults) {
  const double ratio = picture.devicePixelRatio();
  const QRect in = RectIn(part, window);
  const QRect rect = QRect(QPoint(qRound(in.x() * ratio), qRound(in.y() * ratio)),
                           QSize(qRound(in.width() * ratio), qRound(in.height() * ratio)))
                         .intersected(picture.rect());
  if (rect.width() < 2 || rect.height() < 2) return;  // told as cut or outside
  std::map<QRgb, int> counts;
  for (int y = rect.top(); y <= rect.bottom(); ++y) {
    for (int x = rect.left(); x <= rect.right(); ++x) ++counts[picture.pixel(x, y)];
  }
  const QRgb ground =
      std::max_element(counts.begin(), counts.end(), [](const auto& a, const auto& b) {
        return a.second < b.second;
      })->first;
  double best = 1;
  for (const auto& [colour, count] : counts) best = std::max(best, Contrast(colour, ground));
  if (best < kLeastContrast) {
    faults << NameOf(part) + QStringLiteral(" has a contrast of %1").arg(best, 0, 'f', 1);
  }
}

bool WantsTab(const QWidget& part) {
  if (!part.isEnabled() || !(part.focusPolicy() & Qt::TabFocus)) return false;
  return part.inherits("QAbstractButton") || part.inherits("QLineEdit") ||
         part.inherits("QComboBox") || part.inherits("QAbstractScrollArea");
}

// Round by Tab, as a person goes.
void FindUnreachable(QWidget& window, const std::vector<QWidget*>& parts, QStringList& faults) {
  std::set<const QWidget*> reached;
  QWidget* focus = QApplication::focusWidget();
  if (!focus || focus->window() != &window) {
    faults << QStringLiteral("nothing has the keyboard");
    return;
  }
  for (int i = 0; i < kMostTabs && focus && reached.insert(focus).second; ++i) {
    QTest::keyClick(focus, Qt::Key_Tab);
    // Where Tab is a character of a text, Ctrl+Tab goes on.
    if (QApplication::focusWidget() == focus) {
      QTest::keyClick(focus, Qt::Key_Tab, Qt::ControlModifier);
    }
    focus = QApplication::focusWidget();
  }
  for (const QWidget* const part : parts) {
    if (WantsTab(*part) && !reached.count(part)) {
      faults << NameOf(*part) + QStringLiteral(" is not reached by Tab");
    }
  }
}

}  // namespace

QStringList FaultsOf(QWidget& window) {
  QStringList faults;
  const std::vector<QWidget*> parts = PartsOf(window);
  FindOffTheScreen(window, faults);
  FindOutside(window, parts, faults);
  for (const QWidget* const part : parts) FindCut(*part, faults);
  FindCovered(window, parts, faults);
  const QImage picture = window.grab().toImage();
  for (const QWidget* const part : parts) {
    if (HasPlainText(*part) && !ScrollAreaAround(*part, window))
      FindUnreadable(picture, window, *part, faults);
  }
  if (window.focusPolicy() != Qt::NoFocus || window.isModal()) {
    FindUnreachable(window, parts, faults);
  }
  return faults;
}
