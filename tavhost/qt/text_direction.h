#pragma once

#include <QPlainTextEdit>
#include <QString>
#include <QStringList>
#include <optional>

namespace ui {

// How windows are laid out where the desktop speaks these languages, the first that is known.
Qt::LayoutDirection DirectionOfDesktop(const QStringList& languages);

// That of its first letter; empty when it has none, which is read as its window is laid out.
std::optional<Qt::LayoutDirection> DirectionOf(const QString& text);

// The text with marks that make it read in its own direction in a window of the other.
QString InOwnDirection(const QString& text, Qt::LayoutDirection window);

// All lines of the text stand on the side where the language that it begins with begins lines, also
// after it was changed. Each of them reads in its own direction anyway.
void StandInOwnDirection(QPlainTextEdit& edit);

}  // namespace ui
