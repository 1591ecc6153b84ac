#pragma once

#include <cstdint>

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// One or more files to open, or a file to save to.
class FileDialogModel final : public ModalModel {
 public:
  static constexpr std::uint32_t kOpen = 0x1000;
  static constexpr std::uint32_t kSaveAs = 0x2000;

  struct Filter {
    std::string text;  // what the user reads
    std::string type;  // the patterns, joined by ";"
  };

  explicit FileDialogModel(std::uint32_t style)
      : ModalModel(ModalKind::kFileDialog, IsSave(style) ? "Save As" : "Open"),
        isSave_(IsSave(style)) {}

  bool IsSave() const { return isSave_; }
  bool AllowsMultiple() const { return multiple && !isSave_; }
  std::vector<ModalButton> Buttons() const override {
    return OkAndCancel(isSave_ ? "Save" : "Open");
  }

  bool multiple = false;
  std::string startPath;
  std::string fileName;  // offered at the start
  std::string defaultExtension;
  bool extensionFollowsFilter = false;  // the default one becomes that of the filter in force
  std::vector<Filter> filters;
  std::size_t currentFilter = 0;
  // False when no filter has that text.
  bool SetCurrentFilter(std::string_view text);

  std::vector<std::string> chosen;  // whole paths

 private:
  static bool IsSave(std::uint32_t style) { return (style & kOpen) == 0 && (style & kSaveAs) != 0; }

  bool isSave_;
};

}  // namespace ui
