#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/export.h"
#include "tavhost/ui/models/window_model.h"

namespace ui {

// Which class a modal model is; back ends choose their view by it.
enum class ModalKind {
  kMessageBox,
  kTextBox,
  kEditField,
  kListBox,
  kFileDialog,
  kDirectoryDialog,
  kImageDialog,
  kTreeListBox,
  kBrowser,
  kEditBrowser,
};

struct ModalButton {
  std::string name;   // how answers call it
  std::string label;  // what the user reads
  long result;        // what Execute returns
};

inline constexpr std::string_view kCancelButton = "cancel";

// A window that is answered before anything else goes on.
class TAV_HOST_API ModalModel : public WindowModel {
 public:
  ModalModel(ModalKind kind, std::string defaultTitle)
      : WindowModel(std::move(defaultTitle)), kind_(kind) {}

  ModalKind Kind() const { return kind_; }

  // In the order in which they stand.
  virtual std::vector<ModalButton> Buttons() const = 0;
  // The name of the button that Enter presses.
  virtual std::string DefaultButton() const { return Buttons().front().name; }
  // Whether a button can be pressed as the window stands, or is greyed.
  virtual bool IsButtonEnabled(std::string_view) const { return true; }

  // Before a run: nothing has ended the window yet.
  void Begin();
  // Ends the window by a button; "cancel" (Escape, the close box) fits every window. False, and
  // nothing changed, when the window has no such button.
  bool End(std::string_view button);
  // Ends it with a result of the caller's choice.
  void EndWith(long result);

  bool HasEnded() const { return hasEnded_; }
  long Result() const { return result_; }
  // The button that ended it; empty when the result was chosen.
  const std::string& EndButton() const { return endButton_; }

 private:
  ModalKind kind_;
  bool hasEnded_ = false;
  long result_ = 0;
  std::string endButton_;
};

// The two buttons of most dialogs.
TAV_HOST_API std::vector<ModalButton> OkAndCancel(std::string okLabel);

}  // namespace ui
