#pragma once

#include "host/sv/selection.h"
#include "host/sv/window.h"

namespace SV {

// A field for text.
class TAV_HOST_API Edit : public Window {
 public:
  virtual void ChangeSelection(const Selection& selection);
  // Brings the selection's end into view.
  virtual void ShowSelection();
  Selection GetSelection() const { return selection_; }

 protected:
  Edit(Window* parent, std::unique_ptr<ui::WindowModel> model);

 private:
  Selection selection_{0, 0};
};

}  // namespace SV
