#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QFrame>
#include <QWidget>
#include <functional>

#include "tavhost/base/result.h"
#include "tavhost/ide/script_text.h"
#include "tavhost/qt/ide/script_editor.h"

class QLabel;
class QPushButton;

namespace ui::ide_view {

// One open script: its file, its editor, and a bar above it when the two have come apart.
class EditorPage final : public QWidget {
 public:
  EditorPage(EditorHelp help, int untitledNumber, QWidget* parent = nullptr);

  ScriptEditor& Editor() { return *editor_; }

  // Empty while it has no file.
  const QString& Path() const { return path_; }
  QString Title() const;
  // By which error texts call the script.
  QString Name() const { return path_.isEmpty() ? Title() : path_; }
  bool IsModified() const { return editor_->document()->isModified(); }
  // Neither a file nor anything typed.
  bool IsUntouched() const;
  const ide::FileForm& Form() const { return form_; }

  // When the file cannot be read or written, nothing has changed; the cause is for the user.
  base::Result<void, QString> Load(const QString& path);
  base::Result<void, QString> Save(const QString& path);

  // The text as it would be written.
  QByteArray Bytes() const;
  // Text that was not saved when the program ended last.
  void Restore(const QString& path, const QByteArray& bytes);

  // Whether the file is no longer as it was read or written last.
  bool IsChangedOnDisk() const;
  // Looks at the file: an unmodified text follows it, a modified one gets a notice.
  void LookAtDisk();

  std::function<void()> changed;  // its title, or whether it is modified

 private:
  // What was last seen of the file, to tell when another program has changed it.
  struct Disk {
    bool exists = false;
    qint64 size = 0;
    QDateTime written;
    QByteArray digest;
  };
  static Disk LookAt(const QString& path, const Disk* known);
  static base::Result<QByteArray, QString> Read(const QString& path);
  void Show(const QByteArray& bytes);
  void ShowNotice(const QString& text, bool canReload);
  void Reload();

  int untitledNumber_;
  QString path_;
  ide::FileForm form_;
  Disk disk_;
  ScriptEditor* editor_;
  QFrame* notice_;
  QLabel* noticeText_;
  QPushButton* reload_;
};

}  // namespace ui::ide_view
