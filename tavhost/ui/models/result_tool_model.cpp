#include "tavhost/ui/models/result_tool_model.h"

namespace ui {

void ResultToolModel::Tell(void (ResultToolObserver::*what)(ResultToolModel&)) {
  for (ResultToolObserver* const observer : observers_) (observer->*what)(*this);
}

void ResultToolModel::ShowButton(Button button, bool shown) {
  shows_[button] = shown;
  Tell(&ResultToolObserver::ButtonsChanged);
}

void ResultToolModel::Add(TableModel& table) {
  results_.push_back(&table);
  current_ = results_.size() - 1;
  table.lookChanged = [this, &table] {
    if (Current() == &table) Tell(&ResultToolObserver::LookChanged);
  };
  Tell(&ResultToolObserver::ResultsChanged);
}

// The next one takes its place, or the one before it at the end.
void ResultToolModel::Remove(std::size_t index) {
  results_[index]->lookChanged = nullptr;
  results_.erase(results_.begin() + static_cast<std::ptrdiff_t>(index));
  if (current_ > index || (current_ > 0 && current_ == results_.size())) --current_;
  Tell(&ResultToolObserver::ResultsChanged);
}

void ResultToolModel::GoTo(std::size_t index) {
  if (index >= results_.size() || index == current_) return;
  current_ = index;
  Tell(&ResultToolObserver::ResultsChanged);
}

}  // namespace ui
