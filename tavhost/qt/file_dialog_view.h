#pragma once

#include <QFileDialog>
#include <QString>
#include <QStringList>
#include <memory>
#include <string>
#include <vector>

#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/native_file_dialog.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"

namespace ui {

// Qt's own file dialog, the same on every platform; it never changes the current directory. It has
// the places of the desktop, and takes files that are dropped on it. A dialog for its user asks in
// the desktop's where there is one: this one then stands behind it, unseen, and comes up in its
// place when that one cannot ask.
class FolderView : public ModalView {
 public:
  // A user may like another folder for each.
  using Purpose = FileQuestion::Purpose;

  // Where it begins is a wish: the desktop's dialog may know no other place than its own.
  void AllowOtherStart() { isFolderGiven_ = false; }

 protected:
  // Begins in `start`; when that is empty and the dialog is for its user, where the user was last.
  FolderView(ModalModel& model, QWidget* parent, const std::string& start, Purpose purpose,
             bool isForUser);

  QFileDialog& Widget() { return static_cast<QFileDialog&>(Dialog()); }
  const QStringList& Chosen() const { return chosen_; }  // empty: cancelled

  void Appear() override;
  // What it is set up to ask.
  virtual FileQuestion Question();

 private:
  void Accept(const QStringList& chosen);
  void TakeAnswer(QStringList paths);
  bool IsRight(QStringList& paths);
  void SetUpColumns();
  void SetUpPlaces();
  void GoTo(const QStringList& paths);

  const Purpose purpose_;
  const bool isForUser_;
  bool isFolderGiven_;
  QStringList chosen_;
  std::unique_ptr<NativeFileDialog> native_;  // null: the dialog is seen
};

class FileDialogView final : public FolderView {
 public:
  FileDialogView(FileDialogModel& model, QWidget* parent, bool isForUser);

  void ShowModel() override;

 private:
  void ReadModel() override;
  FileQuestion Question() override;
  void FilterNames();

  FileDialogModel& files_;
};

// Asks the user outside of scripts. Whole paths; none: cancelled, also by a stop.
std::vector<std::string> AskForFiles(FileDialogModel& model, QWidget& above);

// The same for choosing a directory.
class DirectoryDialogView final : public FolderView {
 public:
  DirectoryDialogView(DirectoryDialogModel& model, QWidget* parent, bool isForUser);

  void ShowModel() override;

 private:
  void ReadModel() override;

  DirectoryDialogModel& directory_;
};

}  // namespace ui
