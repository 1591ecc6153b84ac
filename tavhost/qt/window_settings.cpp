#include "tavhost/qt/window_settings.h"

#include <QDir>
#include <QFileInfo>
#include <utility>

namespace ui {

namespace {

constexpr QLatin1String kOrganization("tavhost");
constexpr QLatin1String kName("windows");

// Where settings of a user lie on systems that have pipes among their files. QSettings tells it
// only when it has read them.
QString UserFolder() {
  const QString folder = qEnvironmentVariable("XDG_CONFIG_HOME");
  return QDir(QDir::homePath()).filePath(folder.isEmpty() ? QStringLiteral(".config") : folder);
}

// The first of the files that would be read which is none; empty when all can be.
QString NoFile() {
  const QDir folder(UserFolder());
  for (const QString& path : {kOrganization + QLatin1Char('/') + kName, QString(kOrganization)}) {
    const QString file = folder.filePath(path + QStringLiteral(".ini"));
    if (!IsFileIfAnything(file, kMostSettings)) return file;
  }
  return {};
}

}  // namespace

bool IsFileIfAnything(const QString& path, qint64 most) {
  const QFileInfo file(path);
  return !file.exists() || (file.isFile() && file.size() <= most);
}

std::unique_ptr<QSettings> WindowSettings() {
  static bool isTold = false;
  const QString other = NoFile();
  if (other.isEmpty()) {
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, kOrganization,
                                       kName);
  }
  if (!std::exchange(isTold, true)) {
    qWarning("%s is no file, or far too long: what is liked of windows is neither read nor kept",
             qUtf8Printable(other));
  }
  return nullptr;
}

}  // namespace ui
