#pragma once

#include <QPoint>
#include <QSize>
#include <QString>
#include <QWidget>
#include <optional>

class QAbstractButton;

// What keeps windows on the screen, whatever texts and sizes scripts give them.
namespace ui {

// The largest size, without its frame, that the window can have for all of it to be seen.
QSize MostOnScreen(const QWidget& window);

// That size, larger where what stands in the window needs more.
QSize LeastSizeFor(const QWidget& window, const QSize& size);

// Gives the window that size, or as much of it as the screen has. What needs more room than that
// scrolls: nothing of a window is out of reach.
void ResizeOnScreen(QWidget& window, const QSize& size);
// Puts the frame there, or as near as the screen ends.
void MoveOnScreen(QWidget& window, const QPoint& place);

// The text as the label of a button or check box, cut where it would be wider than so many mean
// characters; the whole is then in its tip, and as much as a person listens to in what it is
// called.
inline constexpr int kMostLabelColumns = 32;  // of a dialog's own buttons
void ShowLabel(QAbstractButton& button, const QString& text, int columns);

// A single line that is cut where it would be wider than so many mean characters. What was cut is
// for a tip: `TipOf`.
QString ElidedText(const QWidget& widget, const QString& text, int columns);
// The whole text as a tip that shows it as it is; empty when `shown` is all of it.
QString TipOf(const QString& text, const QString& shown);

}  // namespace ui
