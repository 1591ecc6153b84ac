#pragma once

#include <QAbstractEventDispatcher>

// Handles all events that wait, and those that these bring about, timers of no time included.
inline void HandleEvents() {
  QAbstractEventDispatcher& events = *QAbstractEventDispatcher::instance();
  while (events.processEvents(QEventLoop::AllEvents)) {
  }
}
