#include "tests/qt/window_parts.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QScrollBar>
#include <QSplitterHandle>

namespace window_parts {

namespace {

bool IsInsideOfAnother(const QWidget& widget) {
  return qobject_cast<const QScrollBar*>(&widget) || qobject_cast<const QHeaderView*>(&widget) ||
         qobject_cast<const QSplitterHandle*>(&widget) ||
         widget.inherits("QDockWidgetTitleButton") ||
         qobject_cast<const QLineEdit*>(widget.parentWidget()) ||
         qobject_cast<const QComboBox*>(widget.parentWidget()) ||
         qobject_cast<const QAbstractSpinBox*>(widget.parentWidget()) ||
         qobject_cast<const QAbstractItemView*>(widget.parentWidget());
}

}  // namespace

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

QRect RectIn(const QWidget& widget, const QWidget& window) {
  return QRect(widget.mapTo(&window, QPoint(0, 0)), widget.size());
}

QAbstractScrollArea* ScrollAreaAround(const QWidget& widget, const QWidget& window) {
  for (QWidget* above = widget.parentWidget(); above && above != &window;
       above = above->parentWidget()) {
    if (auto* const area = qobject_cast<QAbstractScrollArea*>(above)) return area;
  }
  return nullptr;
}

}  // namespace window_parts
