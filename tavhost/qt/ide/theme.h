#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

namespace ui::ide_view {

enum class Theme { kSystem, kLight, kDark };

QString NameOf(Theme theme);
Theme ThemeOf(const QString& name);

// Makes the whole program look so. The first call keeps what the system gave, for kSystem.
void Apply(Theme theme);

// What text is painted in, fitting the palette's own light or dark.
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
