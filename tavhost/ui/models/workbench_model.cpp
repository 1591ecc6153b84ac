#include "tavhost/ui/models/workbench_model.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace ui {

struct WorkbenchModel::Entry {
  Tool tool;
  std::vector<std::function<void()>> listeners;
};

WorkbenchModel::WorkbenchModel() = default;
WorkbenchModel::~WorkbenchModel() = default;

template <typename Function>
void WorkbenchModel::Tell(Function function) {
  const std::vector<WorkbenchObserver*> told = observers_;  // more may come meanwhile
  for (WorkbenchObserver* const observer : told) function(*observer);
}

Tool& WorkbenchModel::Add(std::string id, WindowModel* content, unsigned flags) {
  Remove(id);
  entries_.push_back(std::make_unique<Entry>(Entry{Tool(std::move(id), content, flags), {}}));
  Tool& tool = entries_.back()->tool;
  Tell([&](WorkbenchObserver& observer) { observer.ToolAdded(tool); });
  return tool;
}

void WorkbenchModel::Remove(std::string_view id) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [id](const auto& entry) { return entry->tool.id == id; });
  if (found == entries_.end()) return;
  const std::unique_ptr<Entry> removed = std::move(*found);
  entries_.erase(found);
  Tell([&](WorkbenchObserver& observer) { observer.ToolRemoved(removed->tool); });
}

Tool* WorkbenchModel::Find(std::string_view id) const {
  for (const auto& entry : entries_) {
    if (entry->tool.id == id) return &entry->tool;
  }
  return nullptr;
}

std::vector<Tool*> WorkbenchModel::InOrder() const {
  std::vector<Tool*> tools;
  for (const auto& entry : entries_) tools.push_back(&entry->tool);
  const auto place = [](const Tool* tool) {
    const ToolLocation& location = tool->location;
    return std::tie(location.side, location.index, location.subIndex, tool->id);
  };
  std::sort(tools.begin(), tools.end(),
            [&](const Tool* one, const Tool* other) { return place(one) < place(other); });
  return tools;
}

bool WorkbenchModel::HasVisible() const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [](const auto& entry) { return entry->tool.visible; });
}

void WorkbenchModel::SetTitle(Tool& tool, std::string title) {
  tool.title = std::move(title);
  Tell([&](WorkbenchObserver& observer) { observer.ToolChanged(tool, ToolChange::kTitle); });
}

void WorkbenchModel::SetSubtitle(Tool& tool, std::string subtitle) {
  tool.subtitle = std::move(subtitle);
  Tell([&](WorkbenchObserver& observer) { observer.ToolChanged(tool, ToolChange::kTitle); });
}

void WorkbenchModel::SetLocation(Tool& tool, const ToolLocation& location) {
  tool.location = location;
  Tell([&](WorkbenchObserver& observer) { observer.ToolChanged(tool, ToolChange::kLocation); });
}

void WorkbenchModel::SetSize(Tool& tool, std::optional<SV::Size> Tool::*size,
                             const SV::Size& value) {
  tool.*size = value;
  Tell([&](WorkbenchObserver& observer) { observer.ToolChanged(tool, ToolChange::kSizes); });
}

void WorkbenchModel::SetVisible(Tool& tool, bool visible) {
  if (tool.visible == visible) return;
  tool.visible = visible;
  Tell([&](WorkbenchObserver& observer) { observer.ToolChanged(tool, ToolChange::kVisible); });
  CallListeners(tool);
}

void WorkbenchModel::WantFocus(Tool& tool) {
  if (!tool.visible) return;
  Tell([&](WorkbenchObserver& observer) { observer.FocusWanted(tool); });
  CallListeners(tool);
}

void WorkbenchModel::AddListener(Tool& tool, std::function<void()> listener) {
  for (const auto& entry : entries_) {
    if (&entry->tool == &tool) {
      entry->listeners.push_back(std::move(listener));
      return;
    }
  }
}

void WorkbenchModel::CallListeners(const Tool& tool) {
  std::vector<std::function<void()>> listeners;
  for (const auto& entry : entries_) {
    if (&entry->tool == &tool) listeners = entry->listeners;
  }
  for (const auto& listener : listeners) listener();
}

void WorkbenchModel::AddObserver(WorkbenchObserver& observer) { observers_.push_back(&observer); }

void WorkbenchModel::RemoveObserver(WorkbenchObserver& observer) {
  std::erase(observers_, &observer);
}

}  // namespace ui
