#pragma once

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// One of the images of the database file area.
class ImageDialogModel final : public ModalModel {
 public:
  struct Entry {
    std::string name;  // in the area, without "db:\"
    std::string file;  // where it lies on disk
  };

  ImageDialogModel() : ModalModel(ModalKind::kImageDialog, "Choose Image") {}

  std::vector<ModalButton> Buttons() const override { return OkAndCancel("OK"); }

  std::vector<Entry> entries;
  std::string selected;  // a name; empty: none
};

}  // namespace ui
