#pragma once

#include <QStringList>

class QWidget;

// What is wrong with a window that is shown, from the geometry of its widgets, its picture and real
// Tab keys: what lies off the screen or outside the window, what is cut, what covers something
// else, what cannot be read, what no key reaches. Each in a line of words; none when all is well.
QStringList FaultsOf(QWidget& window);

// Of these only what is off the screen or cannot be reached by the keyboard: on a very small screen
// texts may have to be scrolled to.
QStringList FaultsOfReach(QWidget& window);
