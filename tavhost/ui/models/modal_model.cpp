#include "tavhost/ui/models/modal_model.h"

namespace ui {

void ModalModel::Begin() {
  hasEnded_ = false;
  result_ = 0;
  endButton_.clear();
}

bool ModalModel::End(std::string_view button) {
  long result = 0;
  if (button != kCancelButton) {
    bool found = false;
    for (const ModalButton& candidate : Buttons()) {
      if (candidate.name != button) continue;
      result = candidate.result;
      found = true;
      break;
    }
    if (!found) return false;
  }
  hasEnded_ = true;
  result_ = result;
  endButton_ = button;
  return true;
}

void ModalModel::EndWith(long result) {
  hasEnded_ = true;
  result_ = result;
  endButton_.clear();
}

std::vector<ModalButton> OkAndCancel(std::string okLabel) {
  return {{"ok", std::move(okLabel), 1}, {"cancel", "Cancel", 0}};
}

}  // namespace ui
