#pragma once

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// One directory.
class DirectoryDialogModel final : public ModalModel {
 public:
  explicit DirectoryDialogModel(std::string start)
      : ModalModel(ModalKind::kDirectoryDialog, "Choose Directory"), path(std::move(start)) {}

  std::vector<ModalButton> Buttons() const override { return OkAndCancel("Choose"); }

  std::string path;  // where it starts, then what was chosen
};

}  // namespace ui
