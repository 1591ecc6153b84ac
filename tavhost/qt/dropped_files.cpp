#include "tavhost/qt/dropped_files.h"

#include <QDir>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <QWidget>
#include <utility>

namespace ui {

namespace {

QStringList PathsIn(const QMimeData& data) {
  QStringList paths;
  for (const QUrl& url : data.urls()) {
    if (url.isLocalFile()) paths << QDir::toNativeSeparators(url.toLocalFile());
  }
  return paths;
}

}  // namespace

DroppedFiles::DroppedFiles(QWidget& window, Take take) : QObject(&window), take_(std::move(take)) {
  window.setAcceptDrops(true);
  window.installEventFilter(this);
  // Others let the drag through to what they stand in.
  for (QWidget* const part : window.findChildren<QWidget*>()) {
    if (part->acceptDrops()) part->installEventFilter(this);
  }
}

bool DroppedFiles::eventFilter(QObject* object, QEvent* event) {
  const bool isDrop = event->type() == QEvent::Drop;
  if (!isDrop && event->type() != QEvent::DragEnter && event->type() != QEvent::DragMove) {
    return false;
  }
  auto& drag = static_cast<QDropEvent&>(*event);
  if (drag.source()) return false;  // from one widget of this program to another
  const QStringList paths = PathsIn(*drag.mimeData());
  if (paths.isEmpty() || !(drag.possibleActions() & Qt::CopyAction)) return false;
  drag.setDropAction(Qt::CopyAction);  // the files stay where they are
  drag.accept();
  if (isDrop) take_(paths, static_cast<QWidget&>(*object), drag.position().toPoint());
  return true;
}

}  // namespace ui
