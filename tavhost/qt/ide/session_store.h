#pragma once

#include <QByteArray>
#include <QList>
#include <QLockFile>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

#include "tavhost/base/result.h"

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
  // Why nothing can be kept, in words for the user; empty when all is well.
  QString Problem() const;
  // The texts that workbenches had kept which then crashed or were killed. Whoever asks first gets
  // them. Their files stay, kept from others, until KeepUnsaved has put the texts into this one's:
  // a crash or a full disk in between loses nothing.
  QList<Unsaved> TakeLost();
  // Replaces what this workbench keeps of its modified texts, those taken over among them. When it
  // fails, what was kept before is still there.
  base::Result<void> KeepUnsaved(const QList<Unsaved>& texts);

  // The history's file as it is, of a large one its end; what cannot be read is empty.
  QByteArray ReadHistory() const;
  void AppendHistory(const QByteArray& line);
  void WriteHistory(const QByteArray& text);

 private:
  // Another workbench's file of texts, and the lock that its workbench would have.
  struct Taken {
    QString path;
    std::unique_ptr<QLockFile> lock;
  };

  static std::optional<QList<Unsaved>> ReadUnsaved(const QString& path);
  QString UnsavedFile(const QString& id) const;
  QString HistoryFile() const;

  QString data_;
  QString id_;
  std::unique_ptr<QSettings> settings_;
  QLockFile first_;
  QLockFile own_;
  bool isFirst_;
  std::vector<Taken> taken_;
};

}  // namespace ui::ide_view
