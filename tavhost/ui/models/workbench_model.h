#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/size.h"
#include "host/export.h"
#include "tavhost/ui/models/window_model.h"

namespace ui {

// The sides of a work window, as scripts number them.
enum class ToolSide { kLeft = 0, kTop = 1, kRight = 2, kBottom = 3 };

// What a tool cannot be made to do by its user.
namespace tool_flags {
inline constexpr unsigned kNoCloseButton = 4;
inline constexpr unsigned kNoCloseCommand = 8;   // it is in no list of tools to show or hide
inline constexpr unsigned kKeptByCloseAll = 16;  // hiding all tools leaves it
inline constexpr unsigned kNotMovable = 32;      // neither floating nor at another side
inline constexpr unsigned kMinimumWidth = 64;    // its minimum sizes hold for the width
inline constexpr unsigned kMinimumHeight = 128;  // … for the height
}  // namespace tool_flags

// Where a tool stands in its window, until its user moves it.
struct ToolLocation {
  ToolSide side = ToolSide::kLeft;
  long index = 0;     // tools of one side and index share one place, as tabs
  long subIndex = 0;  // the order of these tabs

  bool operator==(const ToolLocation&) const = default;
};

// A window docked in the work window. What it shows is its window's model; user interfaces choose
// the widget by the model's Content().
struct Tool {
  Tool(std::string name, WindowModel* shown, unsigned toolFlags)
      : id(std::move(name)), content(shown), flags(toolFlags), title(id) {}

  const std::string id;
  WindowModel* const content;  // may be null: an empty tool
  const unsigned flags;        // of tool_flags; other bits mean nothing here

  std::string title;  // the id until somebody gives one
  std::string subtitle;
  ToolLocation location;
  // None: the user interface chooses. Vertical: at the left or the right; horizontal: at the top
  // or the bottom.
  std::optional<SV::Size> verticalSize;
  std::optional<SV::Size> horizontalSize;
  std::optional<SV::Size> floatingSize;
  std::optional<SV::Size> leastVerticalSize;
  std::optional<SV::Size> leastHorizontalSize;
  bool visible = false;
  bool defaultVisible = false;  // in the usual layout, which a user can ask for

  bool HasFlag(unsigned flag) const { return (flags & flag) != 0; }
  bool IsVertical() const {
    return location.side == ToolSide::kLeft || location.side == ToolSide::kRight;
  }
};

// What of a tool has changed.
enum class ToolChange { kTitle, kLocation, kSizes, kVisible };

// Told of what happens to tools. Observers may change tools, but not take themselves away, while
// they are told.
class WorkbenchObserver {
 public:
  virtual void ToolAdded(Tool&) {}
  virtual void ToolRemoved(Tool&) {}  // it is still whole, its content too
  virtual void ToolChanged(Tool&, ToolChange) {}
  virtual void FocusWanted(Tool&) {}  // of a visible tool

 protected:
  ~WorkbenchObserver() = default;
};

// The tools of a work window: which there are, where they stand and which of them show.
class TAV_HOST_API WorkbenchModel {
 public:
  WorkbenchModel();
  WorkbenchModel(const WorkbenchModel&) = delete;
  WorkbenchModel& operator=(const WorkbenchModel&) = delete;
  ~WorkbenchModel();

  // A hidden tool at the left. A tool that has the id already is removed first.
  Tool& Add(std::string id, WindowModel* content, unsigned flags);
  void Remove(std::string_view id);
  Tool* Find(std::string_view id) const;  // null when there is none
  // All of them, hidden ones too, by side, index, sub-index and id.
  std::vector<Tool*> InOrder() const;
  bool HasVisible() const;

  void SetTitle(Tool& tool, std::string title);
  void SetSubtitle(Tool& tool, std::string subtitle);
  void SetLocation(Tool& tool, const ToolLocation& location);
  // `size` is one of the tool's own.
  void SetSize(Tool& tool, std::optional<SV::Size> Tool::*size, const SV::Size& value);
  void SetVisible(Tool& tool, bool visible);  // by the script or by the user
  void WantFocus(Tool& tool);                 // nothing when it is hidden

  // Called whenever the tool was shown, hidden or given the focus.
  void AddListener(Tool& tool, std::function<void()> listener);

  void AddObserver(WorkbenchObserver& observer);
  void RemoveObserver(WorkbenchObserver& observer);

 private:
  struct Entry;

  void CallListeners(const Tool& tool);
  template <typename Function>
  void Tell(Function function);

  std::vector<std::unique_ptr<Entry>> entries_;
  std::vector<WorkbenchObserver*> observers_;
};

}  // namespace ui
