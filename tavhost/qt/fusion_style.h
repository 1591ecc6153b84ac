#pragma once

#include <QString>
#include <QStyle>

namespace ui {

// The style of that name; Qt's own, "fusion", with check boxes that can be seen on dark windows.
// The caller owns it.
QStyle* MakeStyle(const QString& name);

}  // namespace ui
