#pragma once

#include <QWidget>

namespace ui {

// Gives every button, check box and label of a field in the window a letter of its own that presses
// it with Alt. Letters that labels have already come first, then those that begin their words. Own
// texts of scripts get one too: the `&` in them is text, as ShownLabel has made it.
void GiveAccelerators(QWidget& window);

}  // namespace ui
