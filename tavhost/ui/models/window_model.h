#pragma once

#include <optional>
#include <string>

#include "host/base/point.h"
#include "host/base/size.h"

// What windows show, as plain state and rules, without a toolkit. Texts are bytes, as a rule
// UTF-8; any byte may stand in them.
namespace ui {

struct FontChoice {
  std::string name;
  long height = 0;  // as the script gives it: points; what a font cannot have keeps the size
};

// What a window that stays open shows; user interfaces choose its view by it.
enum class WindowContent {
  kOther,      // nothing that a user interface knows
  kMessage,    // MessageWindowModel
  kProgress,   // PercentageWindowModel
  kWorkbench,  // WorkWindowModel
  kText,       // TextModel
  kResults,    // the tables of a result tool
  kDrawing,    // the graphical representations of a graphrep tool
};

// What all windows have in common. The host's libraries own the models; a user interface shows them
// and changes only what its user can change.
class WindowModel {
 public:
  WindowModel() = default;
  explicit WindowModel(std::string defaultTitle) : title_(std::move(defaultTitle)) {}
  WindowModel(const WindowModel&) = delete;
  WindowModel& operator=(const WindowModel&) = delete;
  virtual ~WindowModel() = default;

  virtual WindowContent Content() const { return WindowContent::kOther; }

  const std::string& Title() const { return title_; }
  // Whether somebody gave the title; otherwise it is the window's own.
  bool HasGivenTitle() const { return hasGivenTitle_; }
  virtual void SetTitle(std::string title) {
    title_ = std::move(title);
    hasGivenTitle_ = true;
  }

  // Pixels; none: the user interface chooses.
  std::optional<SV::Size> size;       // of the area inside the frame
  std::optional<SV::Point> position;  // of the frame
  std::optional<FontChoice> font;     // none: the user interface's own for such a window
  bool visible = false;
  bool maximized = false;
  WindowModel* parent = nullptr;  // the window above which this one stands

 private:
  std::string title_;
  bool hasGivenTitle_ = false;
};

}  // namespace ui
