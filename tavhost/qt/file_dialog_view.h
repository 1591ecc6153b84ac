#pragma once

#include <QFileDialog>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"

namespace ui {

// Qt's own file dialog, the same on every platform; it never changes the current directory.
class FileDialogView final : public ModalView {
 public:
  FileDialogView(FileDialogModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;
  void FilterNames();

  QFileDialog& Widget() { return static_cast<QFileDialog&>(Dialog()); }

  FileDialogModel& files_;
  bool accepted_ = false;
};

// The same for choosing a directory.
class DirectoryDialogView final : public ModalView {
 public:
  DirectoryDialogView(DirectoryDialogModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;

  QFileDialog& Widget() { return static_cast<QFileDialog&>(Dialog()); }

  DirectoryDialogModel& directory_;
  bool accepted_ = false;
};

}  // namespace ui
