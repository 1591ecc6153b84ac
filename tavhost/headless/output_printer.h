#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/workbench_model.h"

namespace ui {

// Prints what scripts write into the text tools of a work window, where there is no display to show
// them: each line as soon as it is complete, behind the tool's id and ": ", whether the tool is
// visible or not. A line without its end is printed when the tool goes. A stop ends the printing of
// a long text.
class OutputPrinter final : public WorkbenchObserver, public TextObserver {
 public:
  using Print = std::function<void(std::string_view)>;

  OutputPrinter(WorkbenchModel& workbench, Print print);
  OutputPrinter(const OutputPrinter&) = delete;
  OutputPrinter& operator=(const OutputPrinter&) = delete;
  ~OutputPrinter();

  void ToolAdded(Tool& tool) override;
  void ToolRemoved(Tool& tool) override;
  void TextAdded(TextModel& text, std::string_view added) override;

 private:
  struct Output {
    std::string prefix;
    std::string open;  // the line that is not complete yet
  };

  WorkbenchModel& workbench_;
  Print print_;
  std::map<const WindowModel*, Output> outputs_;
};

}  // namespace ui
