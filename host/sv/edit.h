#pragma once

#include "host/sv/selection.h"
#include "host/sv/window.h"

namespace SV {

// A field for text.
class TAV_HOST_API Edit : public Window {
 public:
  virtual void ChangeSelection(const Selection& selection);
  Selection GetSelection() const { return selection_; }

 protected:
  Edit(Window* parent, std::unique_ptr<ui::WindowModel> model);

 private:
  Selection selection_{0, 0};
};

}  // namespace SV
