#pragma once

#include <QImage>
#include <QString>

class QPixmap;

// A window's picture in a frame with its title, as a desktop would show it: offscreen windows have
// none.
QImage Framed(const QPixmap& window, const QString& title);
