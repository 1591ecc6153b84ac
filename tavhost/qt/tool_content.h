#pragma once

#include <QWidget>

#include "tavhost/ui/models/workbench_model.h"

namespace ui {

// A widget for what the tool shows; never null. It looks at the tool's content as long as it lives.
QWidget* MakeToolWidget(Tool& tool);
// Lets a widget made so show at once what it would show a little later.
void FlushToolWidget(QWidget& widget);
// As large as it has to be for all of what it shows to be seen.
QSize NaturalSizeOf(const QWidget& widget);

}  // namespace ui
