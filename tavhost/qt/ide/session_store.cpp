#include "tavhost/qt/ide/session_store.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QUuid>
#include <limits>
#include <tl/expected.hpp>

#include "tavhost/base/file_text.h"
#include "tavhost/base/whole_file.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/window_settings.h"

namespace ui::ide_view {

namespace {

constexpr quint32 kUnsavedForm = 1;
// What the files may hold; beyond, they were damaged.
constexpr std::size_t kMostHistory = std::size_t{4} << 20;  // bytes
constexpr qint64 kMostUnsaved = qint64{1} << 30;

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

// The file of settings. One that cannot be what was kept is put aside: reading it would take more
// memory and time than a start may. Nothing is kept where it cannot be put aside.
QString SettingsFile(const QString& folder) {
  QString file = folder + QStringLiteral("/workbench.ini");
  if (IsFileIfAnything(file, kMostSettings)) return file;
  const QString aside = file + QStringLiteral(".damaged");
  QFile::remove(aside);
  return QFile::rename(file, aside) ? file : QString();
}

// Only its owner may read what a user typed.
void KeepPrivate(const QString& path) {
  QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

base::Result<void> WritePrivate(const QString& path, const QByteArray& bytes) {
  base::WholeFile::Options options;
  options.synced = true;
  options.ownerOnly = true;
  return base::WriteWholeFile(Bytes(path),
                              {bytes.constData(), static_cast<std::size_t>(bytes.size())}, options);
}

}  // namespace

SessionStore::SessionStore(const QString& folder)
    : data_(DataFolder(folder)),
      id_(QUuid::createUuid().toString(QUuid::WithoutBraces)),
      settings_(
          std::make_unique<QSettings>(SettingsFile(ConfigFolder(folder)), QSettings::IniFormat)),
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

QString SessionStore::Problem() const {
  if (!own_.isLocked()) {
    return QStringLiteral(
               "Nothing can be kept in %1: texts that are not saved are lost when the "
               "workbench ends by force.")
        .arg(QDir::toNativeSeparators(data_));
  }
  if (!settings_->isWritable()) {
    return QStringLiteral("%1 cannot be written: settings and open files are not remembered.")
        .arg(QDir::toNativeSeparators(settings_->fileName()));
  }
  return QString();
}

std::optional<QList<SessionStore::Unsaved>> SessionStore::ReadUnsaved(const QString& path) {
  QFile file(path);
  if (!IsFileIfAnything(path, kMostUnsaved)) return std::nullopt;
  if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
  QDataStream stream(&file);
  quint32 form = 0;
  qint32 count = 0;
  stream >> form >> count;
  // Written by another version of the program, perhaps: left for that one.
  if (form != kUnsavedForm || count < 0) return std::nullopt;
  QList<Unsaved> texts;
  for (qint32 i = 0; i < count; ++i) {
    Unsaved text;
    stream >> text.path >> text.bytes >> text.line >> text.column;
    if (stream.status() != QDataStream::Ok) return std::nullopt;
    texts.append(text);
  }
  return texts;
}

QList<SessionStore::Unsaved> SessionStore::TakeLost() {
  QList<Unsaved> lost;
  const QString pattern = QStringLiteral("unsaved-*");
  for (const QString& name : QDir(data_).entryList({pattern}, QDir::Files, QDir::Time)) {
    if (name.endsWith(QLatin1String(".lock"))) continue;
    const QString id = name.mid(pattern.size() - 1);
    if (id == id_) continue;
    auto lock = std::make_unique<QLockFile>(UnsavedFile(id) + QStringLiteral(".lock"));
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0)) continue;  // its workbench still runs
    const auto texts = ReadUnsaved(UnsavedFile(id));
    if (!texts) continue;
    lost += *texts;
    taken_.push_back({UnsavedFile(id), std::move(lock)});
  }
  return lost;
}

base::Result<void> SessionStore::KeepUnsaved(const QList<Unsaved>& texts) {
  if (texts.isEmpty()) {
    QFile::remove(UnsavedFile(id_));
  } else {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << kUnsavedForm << static_cast<qint32>(texts.size());
    for (const Unsaved& text : texts) stream << text.path << text.bytes << text.line << text.column;
    if (auto kept = WritePrivate(UnsavedFile(id_), bytes); !kept) return kept;
  }
  // All that was in these is in this one's file by now, or its user has done with it.
  for (const Taken& file : taken_) QFile::remove(file.path);
  taken_.clear();
  return {};
}

QByteArray SessionStore::ReadHistory() const {
  // The newest entries stand last; the first line may be cut.
  const base::Result<std::string> text = base::ReadKeptText(Bytes(HistoryFile()), kMostHistory);
  return text ? QByteArray::fromStdString(*text) : QByteArray();
}

void SessionStore::AppendHistory(const QByteArray& line) {
  QFile file(HistoryFile());
  const bool isNew = !file.exists();
  if (!IsFileIfAnything(HistoryFile(), std::numeric_limits<qint64>::max())) return;
  if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return;
  if (isNew) KeepPrivate(HistoryFile());
  file.write(line);
  file.flush();
}

void SessionStore::WriteHistory(const QByteArray& text) {
  // Where it cannot be cut it stays long; what it holds is not lost.
  (void)WritePrivate(HistoryFile(), text);
}

}  // namespace ui::ide_view
