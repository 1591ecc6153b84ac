#include "tavhost/qt/remembered_folders.h"

#include <QDir>

#include "tavhost/qt/window_settings.h"

namespace ui::remembered_folders {

namespace {

QString Key(const QString& kind) { return QStringLiteral("folders/") + kind; }

}  // namespace

QString Find(const QString& kind) {
  const QString folder = WindowSettings().value(Key(kind)).toString();
  return QDir::isAbsolutePath(folder) && QDir(folder).exists() ? folder : QString();
}

void Keep(const QString& kind, const QString& folder) {
  if (folder != Find(kind)) WindowSettings().setValue(Key(kind), folder);
}

}  // namespace ui::remembered_folders
