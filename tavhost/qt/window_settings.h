#pragma once

#include <QSettings>

namespace ui {

// What a user likes of windows, kept between starts.
inline QSettings WindowSettings() {
  return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tavhost"),
                   QStringLiteral("windows"));
}

}  // namespace ui
