#pragma once

#include <QSettings>
#include <QString>
#include <memory>

namespace ui {

// Whether that is a file of at most so many bytes, or nothing at all yet. Reading anything else
// that has the place of what is kept between starts may never end: a pipe, a device, a file of any
// size.
bool IsFileIfAnything(const QString& path, qint64 most);

// Bytes of a file of settings; beyond, it was damaged.
constexpr qint64 kMostSettings = qint64{256} << 10;

// What a user likes of windows, kept between starts. Null where the file cannot be read, which is
// told once.
std::unique_ptr<QSettings> WindowSettings();

}  // namespace ui
