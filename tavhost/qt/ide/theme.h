#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

namespace ui::ide_view {

enum class Theme { kSystem, kLight, kDark };

QString NameOf(Theme theme);
Theme ThemeOf(const QString& name);

// Sets the look of all windows. The first call remembers that of the system, which kSystem means
// from then on.
void Apply(Theme theme);

// The colours of scripts and of output; one set for light backgrounds and one for dark ones.
struct Colours {
  QColor comment;
  QColor string;
  QColor number;
  QColor keyword;
  QColor command;
  QColor function;
  QColor parameter;
  QColor modifier;
  QColor currentLine;
  QColor bracket;
  QColor found;
  QColor error;
  QColor errorLine;
  QColor hint;
  QColor stepLine;
  QColor lineNumber;
  QColor margin;
  QColor notice;
  QColor link;
  QColor faint;
};

bool IsDark(const QPalette& palette);
const Colours& ColoursFor(const QPalette& palette);

}  // namespace ui::ide_view
