#pragma once

#include <QStringList>
#include <QTabWidget>
#include <functional>
#include <vector>

#include "tavhost/qt/ide/editor_page.h"
#include "tavhost/qt/ide/session_store.h"

class QFileSystemWatcher;

namespace ui::ide_view {

// The open scripts, a tab each. No text is dropped without its user having said so.
class EditorTabs final : public QTabWidget {
 public:
  explicit EditorTabs(EditorHelp help, QWidget* parent = nullptr);

  EditorPage* Page() const;  // the one in front; there is always one
  EditorPage* PageAt(int index) const;
  std::vector<EditorPage*> Pages() const;
  EditorPage* PageOf(const QString& name) const;  // by path or, without a file, by title

  EditorPage* New();
  // The page of the file, opened now or before; when it cannot be read, the cause for the user.
  base::Result<EditorPage*, QString> Open(const QString& path);
  void OpenWithDialog();
  // False when it was not saved.
  bool Save(EditorPage& page);
  bool SaveAs(EditorPage& page);
  bool SaveAll();
  // False when the user keeps it.
  bool ClosePage(int index);
  // Asks about every modified text. False when one of them is kept.
  bool MayClose();

  void Restore(const SessionStore::Unsaved& text);
  QList<SessionStore::Unsaved> Unsaved() const;
  QStringList Files() const;

  void LookAtDisk();
  void SetEditorFont(const QFont& font);

  // Set once by the window, before a page is opened.
  std::function<void()> pageChanged;                    // another one is in front
  std::function<void(EditorPage&)> textChanged;         // what is typed
  std::function<void()> stateChanged;                   // titles, modified or not
  std::function<void(const QString& path)> fileOpened;  // or saved: for the recent files
  std::function<void(const QString& text)> failed;      // what could not be done

 private:
  // Asks about changes that are not saved, and saves them if told to; false: the page is to stay.
  bool MayLose(EditorPage& page, const QString& occasion);
  EditorPage* Add(EditorPage* page);
  EditorPage* NewPage();
  void ShowState();
  void Watch();

  EditorHelp help_;
  QFileSystemWatcher* watcher_;
  QFont font_;
  int untitled_ = 0;
  QString lastFolder_;
};

}  // namespace ui::ide_view
