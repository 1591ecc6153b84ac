#pragma once

#include "host/dialog/modal_dialog.h"
#include "host/tools/image_preview_control.h"

// Lets the user choose an image of the database file area.
class TAV_HOST_API TavImagePreviewDialog : public TavModalDialog {
 public:
  explicit TavImagePreviewDialog(SV::Window* parent);
  ~TavImagePreviewDialog() override;

  // Finds the images. `extensions` names the kinds wanted, separated by anything but letters and
  // digits ("png;jpg", "*.png *.jpg"); empty: every kind that the host can show.
  void Init(const SV::String& extensions);
  TavImagePreviewControl& GetPreviewControl();

 private:
  std::unique_ptr<TavImagePreviewControl> control_;
};
