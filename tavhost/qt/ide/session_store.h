#pragma once

#include <QByteArray>
#include <QList>
#include <QLockFile>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <memory>

namespace ui::ide_view {

// What the workbench keeps between starts: settings in the user's configuration folder; the
// console's history, and texts that were not saved when it ended, in the data folder.
class SessionStore {
 public:
  // `folder` holds all of it; empty: the user's own folders.
  explicit SessionStore(const QString& folder);
  ~SessionStore();

  QSettings& Settings() { return *settings_; }
  // Whether this workbench restores and keeps the open files; of several at a time the first does.
  bool IsFirst() const { return isFirst_; }

  struct Unsaved {
    QString path;  // empty: it never had a file
    QByteArray bytes;
    int line = 1;
    int column = 1;
  };
  // The texts that workbenches had kept which then crashed or were killed. Whoever asks first gets
  // them; they are this one's from then on.
  QList<Unsaved> TakeLost();
  // Replaces what this workbench keeps of its modified texts. Written through a temporary file.
  void KeepUnsaved(const QList<Unsaved>& texts);

  // The history's file as it is; what cannot be read is empty.
  QByteArray ReadHistory() const;
  void AppendHistory(const QByteArray& line);
  void WriteHistory(const QByteArray& text);

 private:
  QString UnsavedFile(const QString& id) const;
  QString HistoryFile() const;

  QString data_;
  QString id_;
  std::unique_ptr<QSettings> settings_;
  QLockFile first_;
  QLockFile own_;
  bool isFirst_;
};

}  // namespace ui::ide_view
