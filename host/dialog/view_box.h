#pragma once

#include "host/dialog/modal_dialog.h"
#include "host/sv/multi_line_edit.h"

namespace ui {
class TextBoxModel;
}

// Shows a long text.
class TAV_HOST_API TavViewBox : public TavModalDialog {
 public:
  // `fileEditor` is 1 for the text of a file (line and column are shown), else 0.
  TavViewBox(SV::Window* parent, int fileEditor);
  ~TavViewBox() override;

  void SetViewText(const SV::String& text);
  // The control that shows the text; its font is the text's.
  SV::MultiLineEdit& GetTextControl();

 private:
  ui::TextBoxModel& Box();

  std::unique_ptr<SV::MultiLineEdit> control_;
};
