#pragma once

#include <QImage>
#include <QStringList>

class QWidget;

namespace window_pixels {

QImage PictureOf(QWidget& widget);

// From the window's picture: whether each text of a part stands out against its ground, for which
// the published guidelines ask 4.5. What is disabled says so by being pale.
void FindUnreadable(const QImage& picture, const QWidget& window, const QWidget& part,
                    QStringList& faults);

// Whether all strokes of the text of a label or button are drawn: as many as where it has all the
// room that it could want.
void FindCutStrokes(QWidget& part, QStringList& faults);

}  // namespace window_pixels
