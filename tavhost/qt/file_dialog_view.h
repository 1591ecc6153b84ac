#pragma once

#include <QFileDialog>
#include <QString>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"

namespace ui {

// Qt's own file dialog, the same on every platform; it never changes the current directory. It has
// the places of the desktop, and takes files that are dropped on it.
class FolderView : public ModalView {
 public:
  // What a user may like another folder for.
  enum class Purpose { kOpen, kSave, kDirectory };

 protected:
  // Begins in `start`; when that is empty and the dialog is for its user, where the user was last.
  FolderView(ModalModel& model, QWidget* parent, const std::string& start, Purpose purpose,
             bool isForUser);

  QFileDialog& Widget() { return static_cast<QFileDialog&>(Dialog()); }
  bool IsAccepted() const { return accepted_; }

 private:
  void Accept();
  void SetUpColumns();
  void SetUpPlaces();
  void GoTo(const QStringList& paths);

  const Purpose purpose_;
  const bool isForUser_;
  bool accepted_ = false;
};

class FileDialogView final : public FolderView {
 public:
  FileDialogView(FileDialogModel& model, QWidget* parent, bool isForUser);

  void ShowModel() override;

 private:
  void ReadModel() override;
  void FilterNames();

  FileDialogModel& files_;
};

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
