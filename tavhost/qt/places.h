#pragma once

#include <QList>
#include <QUrl>

namespace ui {

// Where the desktop's user keeps files: all drives, home and the usual folders in it, and those
// that are marked in the file manager. Each once, and only those that are there.
QList<QUrl> PlacesOfDesktop();

}  // namespace ui
