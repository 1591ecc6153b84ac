#include "tavhost/qt/ide/session_store.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUuid>

namespace ui::ide_view {

namespace {

constexpr quint32 kUnsavedForm = 1;

QString Made(const QString& folder) {
  QDir().mkpath(folder);
  return folder;
}

QString ConfigFolder(const QString& folder) {
  if (!folder.isEmpty()) return Made(folder);
  return Made(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
              QStringLiteral("/tavhost"));
}

QString DataFolder(const QString& folder) {
  if (!folder.isEmpty()) return folder;
  return Made(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
              QStringLiteral("/tavhost/workbench"));
}

// Only its owner may read what a user typed.
void KeepPrivate(const QString& path) {
  QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

}  // namespace

SessionStore::SessionStore(const QString& folder)
    : data_(DataFolder(folder)),
      id_(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      settings_(std::make_unique<QSettings>(ConfigFolder(folder) + QStringLiteral("/workbench.ini"),
                                            QSettings::IniFormat)),
      first_(data_ + QStringLiteral("/workbench.lock")),
      own_(data_ + QStringLiteral("/unsaved-%1.lock").arg(id_)),
      isFirst_(false) {
  // A lock is stale when its process is gone, however old it is.
  first_.setStaleLockTime(0);
  own_.setStaleLockTime(0);
  isFirst_ = first_.tryLock(0);
  own_.tryLock(0);
}

SessionStore::~SessionStore() = default;

QString SessionStore::UnsavedFile(const QString& id) const {
  return data_ + QStringLiteral("/unsaved-%1").arg(id);
}

QString SessionStore::HistoryFile() const { return data_ + QStringLiteral("/history"); }

QList<SessionStore::Unsaved> SessionStore::TakeLost() {
  QList<Unsaved> lost;
  const QString pattern = QStringLiteral("unsaved-*");
  for (const QString& name : QDir(data_).entryList({pattern}, QDir::Files, QDir::Time)) {
    if (name.endsWith(QLatin1String(".lock"))) continue;
    const QString id = name.mid(pattern.size() - 1);
    if (id == id_) continue;
    QLockFile lock(UnsavedFile(id) + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) continue;  // its workbench still runs
    QFile file(UnsavedFile(id));
    if (!file.open(QIODevice::ReadOnly)) continue;
    QDataStream stream(&file);
    quint32 form = 0;
    qint32 count = 0;
    stream >> form >> count;
    QList<Unsaved> texts;
    for (qint32 i = 0; form == kUnsavedForm && i < count; ++i) {
      Unsaved text;
      stream >> text.path >> text.bytes >> text.line >> text.column;
      if (stream.status() != QDataStream::Ok) break;
      texts.append(text);
    }
    file.close();
    // Written by another version of the program, perhaps: left for that one.
    if (texts.size() != count || form != kUnsavedForm) continue;
    lost += texts;
    // In this one's file before the other goes, so that a crash here loses nothing either.
    KeepUnsaved(lost);
    QFile::remove(UnsavedFile(id));
  }
  return lost;
}

void SessionStore::KeepUnsaved(const QList<Unsaved>& texts) {
  if (texts.isEmpty()) {
    QFile::remove(UnsavedFile(id_));
    return;
  }
  QSaveFile file(UnsavedFile(id_));
  if (!file.open(QIODevice::WriteOnly)) return;
  file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  QDataStream stream(&file);
  stream << kUnsavedForm << static_cast<qint32>(texts.size());
  for (const Unsaved& text : texts) stream << text.path << text.bytes << text.line << text.column;
  file.commit();
}

QByteArray SessionStore::ReadHistory() const {
  QFile file(HistoryFile());
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void SessionStore::AppendHistory(const QByteArray& line) {
  QFile file(HistoryFile());
  const bool isNew = !file.exists();
  if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return;
  if (isNew) KeepPrivate(HistoryFile());
  file.write(line);
  file.flush();
}

void SessionStore::WriteHistory(const QByteArray& text) {
  QSaveFile file(HistoryFile());
  if (!file.open(QIODevice::WriteOnly)) return;
  file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
  file.write(text);
  file.commit();
}

}  // namespace ui::ide_view
