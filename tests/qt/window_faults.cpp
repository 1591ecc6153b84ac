#include "tests/qt/window_faults.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <set>
#include <vector>

#include "tests/qt/window_parts.h"
#include "tests/qt/window_pixels.h"

namespace {

using window_parts::NameOf;
using window_parts::PartsOf;
using window_parts::RectIn;
using window_parts::ScrollAreaAround;

constexpr int kMostTabs = 60;  // more stops than any window has

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
    const bool isPicture = !button->icon().isNull() && part.inherits("QToolButton");
    needed = isPicture ? button->iconSize() : button->minimumSizeHint();
  } else if (qobject_cast<const QLineEdit*>(&part) || qobject_cast<const QComboBox*>(&part)) {
    needed = QSize(part.fontMetrics().averageCharWidth() * 8, part.minimumSizeHint().height());
  } else if (qobject_cast<const QAbstractScrollArea*>(&part)) {
    needed =
        QSize(part.fontMetrics().averageCharWidth() * 10, part.fontMetrics().lineSpacing() * 2);
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
    if (focus && focus->visibleRegion().isEmpty()) {
      faults << NameOf(*focus) + QStringLiteral(" is out of view when it has the keyboard");
    }
  }
  for (const QWidget* const part : parts) {
    if (WantsTab(*part) && !reached.count(part)) {
      faults << NameOf(*part) + QStringLiteral(" is not reached by Tab");
    }
  }
}

}  // namespace

QStringList FaultsOfReach(QWidget& window) {
  QStringList faults;
  const std::vector<QWidget*> parts = PartsOf(window);
  FindOffTheScreen(window, faults);
  FindOutside(window, parts, faults);
  if (std::any_of(parts.begin(), parts.end(), [](QWidget* part) { return WantsTab(*part); })) {
    FindUnreachable(window, parts, faults);
  }
  return faults;
}

QStringList FaultsOf(QWidget& window) {
  QStringList faults;
  const std::vector<QWidget*> parts = PartsOf(window);
  FindOffTheScreen(window, faults);
  const bool isOnScreen = faults.isEmpty();
  FindOutside(window, parts, faults);
  for (const QWidget* const part : parts) FindCut(*part, faults);
  FindCovered(window, parts, faults);
  if (isOnScreen) {  // else it may be too large to be drawn
    const QImage picture = window_pixels::PictureOf(window);
    for (QWidget* const part : parts) {
      window_pixels::FindCutStrokes(*part, faults);
      if (ScrollAreaAround(*part, window)) continue;
      window_pixels::FindUnreadable(picture, window, *part, faults);
    }
  }
  if (std::any_of(parts.begin(), parts.end(), [](QWidget* part) { return WantsTab(*part); })) {
    FindUnreachable(window, parts, faults);
  }
  return faults;
}
