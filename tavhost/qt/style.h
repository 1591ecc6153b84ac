#pragma once

#include <QString>
#include <QStyle>

namespace ui {

// The style of that name, in which every text reads in its own direction, whichever that of its
// window is, and in colours in which it can be read. Qt's own, "fusion", also has check boxes that
// can be seen on dark windows. The caller owns it.
QStyle* MakeStyle(const QString& name);

}  // namespace ui
