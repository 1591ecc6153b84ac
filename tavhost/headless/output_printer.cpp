#include "tavhost/headless/output_printer.h"

#include <cstddef>
#include <utility>

#include "tavhost/base/stop.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/workbench_model.h"

namespace ui {

OutputPrinter::OutputPrinter(WorkbenchModel& workbench, Print print)
    : workbench_(workbench), print_(std::move(print)) {
  workbench_.AddObserver(*this);
  for (Tool* const tool : workbench_.InOrder()) ToolAdded(*tool);
}

OutputPrinter::~OutputPrinter() {
  for (Tool* const tool : workbench_.InOrder()) ToolRemoved(*tool);
  workbench_.RemoveObserver(*this);
}

void OutputPrinter::ToolAdded(Tool& tool) {
  if (!tool.content || tool.content->Content() != WindowContent::kText) return;
  outputs_[tool.content].prefix = tool.id + ": ";
  static_cast<TextModel*>(tool.content)->AddObserver(*this);
}

void OutputPrinter::ToolRemoved(Tool& tool) {
  const auto found = outputs_.find(tool.content);
  if (found == outputs_.end()) return;
  static_cast<TextModel*>(tool.content)->RemoveObserver(*this);
  if (!found->second.open.empty()) print_(found->second.prefix + found->second.open + '\n');
  outputs_.erase(found);
}

void OutputPrinter::TextAdded(TextModel& text, std::string_view added) {
  constexpr std::size_t kPiece = std::size_t{64} << 10;
  Output& output = outputs_[&text];
  std::string lines;
  for (std::size_t end; (end = added.find('\n')) != std::string_view::npos;) {
    lines.append(output.prefix).append(output.open).append(added.substr(0, end + 1));
    output.open.clear();
    added.remove_prefix(end + 1);
    if (lines.size() < kPiece) continue;
    print_(lines);
    lines.clear();
    if (stop::IsRequested()) return;
  }
  output.open += added;
  if (!lines.empty()) print_(lines);
}

}  // namespace ui
