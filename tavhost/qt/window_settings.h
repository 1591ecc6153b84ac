#pragma once

#include <QSettings>
#include <memory>

namespace ui {

// What a user likes of windows, kept between starts. Null where something that is no file has the
// place of the file, which is told once: reading a pipe would never end.
std::unique_ptr<QSettings> WindowSettings();

}  // namespace ui
