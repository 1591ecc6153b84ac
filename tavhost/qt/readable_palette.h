#pragma once

#include <QColor>

class QPalette;

namespace ui {

// How far two colours are apart, 1 to 21, as the web's guidelines reckon it; they ask 4.5 of texts.
double Contrast(const QColor& one, const QColor& other);

// Moves the colours of selections, placeholders and links, where a text could not be read on its
// ground, as far as it takes. Colours that do stay as they are.
void MakeReadable(QPalette& palette);

}  // namespace ui
