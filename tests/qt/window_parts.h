#pragma once

#include <QRect>
#include <QString>
#include <vector>

class QAbstractScrollArea;
class QWidget;

namespace window_parts {

// What a person reads or works with, each once: no frames, no parts of other widgets.
std::vector<QWidget*> PartsOf(QWidget& window);

// For messages.
QString NameOf(const QWidget& widget);

QRect RectIn(const QWidget& widget, const QWidget& window);

// The area that scrolls the widget into view; null when none does.
QAbstractScrollArea* ScrollAreaAround(const QWidget& widget, const QWidget& window);

}  // namespace window_parts
