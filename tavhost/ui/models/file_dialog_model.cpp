#include "tavhost/ui/models/file_dialog_model.h"

namespace ui {

bool FileDialogModel::SetCurrentFilter(std::string_view text) {
  for (std::size_t index = 0; index < filters.size(); ++index) {
    if (filters[index].text != text) continue;
    currentFilter = index;
    return true;
  }
  return false;
}

}  // namespace ui
