#include "tavhost/qt/places.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace ui {

namespace {

constexpr qint64 kMostBytes = 64 * 1024;  // of the file of bookmarks
constexpr qsizetype kMostPlaces = 40;     // that a person finds something in

// A line each: a URL and, behind a blank, the name that its user gave it.
QList<QUrl> Bookmarks() {
  QList<QUrl> bookmarks;
  QFile file(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
             QStringLiteral("/gtk-3.0/bookmarks"));
  if (!file.open(QIODevice::ReadOnly)) return bookmarks;
  for (const QByteArray& line : file.read(kMostBytes).split('\n')) {
    const QUrl url = QUrl::fromEncoded(line.left(line.indexOf(' ')).trimmed());
    if (url.isLocalFile()) bookmarks << url;
  }
  return bookmarks;
}

}  // namespace

QList<QUrl> PlacesOfDesktop() {
  QList<QUrl> places{QUrl(QStringLiteral("file:"))};
  const auto add = [&places](const QString& folder) {
    const QUrl url = QUrl::fromLocalFile(QFileInfo(folder).absoluteFilePath());
    if (folder.isEmpty() || places.size() >= kMostPlaces || places.contains(url)) return;
    if (QFileInfo(folder).isDir()) places << url;
  };
  for (const auto usual : {QStandardPaths::HomeLocation, QStandardPaths::DesktopLocation,
                           QStandardPaths::DocumentsLocation, QStandardPaths::DownloadLocation,
                           QStandardPaths::PicturesLocation}) {
    add(QStandardPaths::writableLocation(usual));
  }
  for (const QUrl& bookmark : Bookmarks()) add(bookmark.toLocalFile());
  return places;
}

}  // namespace ui
