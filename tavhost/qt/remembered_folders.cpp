#include "tavhost/qt/remembered_folders.h"

#include <QDir>

#include "tavhost/qt/window_settings.h"

namespace ui::remembered_folders {

namespace {

QString Key(const QString& kind) { return QStringLiteral("folders/") + kind; }

}  // namespace

QString Find(const QString& kind) {
  const std::unique_ptr<QSettings> settings = WindowSettings();
  const QString folder = settings ? settings->value(Key(kind)).toString() : QString();
  return QDir::isAbsolutePath(folder) && QDir(folder).exists() ? folder : QString();
}

void Keep(const QString& kind, const QString& folder) {
  if (folder == Find(kind)) return;
  if (const std::unique_ptr<QSettings> settings = WindowSettings()) {
    settings->setValue(Key(kind), folder);
  }
}

}  // namespace ui::remembered_folders
