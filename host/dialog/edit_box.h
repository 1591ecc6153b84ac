#pragma once

#include "host/dialog/modal_dialog.h"
#include "host/sv/multi_line_edit.h"

namespace ui {
class TextBoxModel;
}

// Lets the user change a long text.
class TAV_HOST_API TavEditBox : public TavModalDialog {
 public:
  // `fileEditor` is 1 for the text of a file (line and column are shown), else 0.
  TavEditBox(SV::Window* parent, int fileEditor);
  ~TavEditBox() override;

  void SetEditText(const SV::String& text);
  SV::String GetEditText();                // as it stands in the dialog, however that was closed
  void SetOKText(const SV::String& text);  // the label of the OK button
  // The control that holds the text; its font is the text's.
  SV::MultiLineEdit& GetTextControl();

 private:
  ui::TextBoxModel& Box();

  std::unique_ptr<SV::MultiLineEdit> control_;
};
