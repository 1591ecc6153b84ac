#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "host/export.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/table/table_model.h"

namespace ui {

class ResultToolModel;

// Told of changes of a result tool; the tables are as they are after the change.
class ResultToolObserver {
 public:
  virtual void ResultsChanged(ResultToolModel&) {}  // which there are, or which is shown
  virtual void ButtonsChanged(ResultToolModel&) {}
  virtual void LookChanged(ResultToolModel&) {}  // of the table that is shown

 protected:
  ~ResultToolObserver() = default;
};

// Several tables of which one is shown, to be leafed through. The tables are their owner's; each
// must stay until it is removed.
class TAV_HOST_API ResultToolModel final : public WindowModel {
 public:
  enum Button { kPrevious, kNext, kClose, kSave, kPrint, kSearch, kButtonCount };

  WindowContent Content() const override { return WindowContent::kResults; }

  void ShowButton(Button button, bool shown);
  bool ShowsButton(Button button) const { return shows_[button]; }

  void Add(TableModel& table);  // behind the others; it is shown
  void Remove(std::size_t index);
  std::size_t Count() const { return results_.size(); }
  // The table that is shown and its place; null when there is none.
  TableModel* Current() const { return results_.empty() ? nullptr : results_[current_]; }
  std::size_t CurrentIndex() const { return current_; }
  void GoTo(std::size_t index);

  // A user wants the table that is shown gone; its owner removes it.
  void CloseCurrent() {
    if (closeResult && Current()) closeResult(current_);
  }
  std::function<void(std::size_t index)> closeResult;

  void AddObserver(ResultToolObserver& observer) { observers_.push_back(&observer); }
  void RemoveObserver(ResultToolObserver& observer) { std::erase(observers_, &observer); }

 private:
  void Tell(void (ResultToolObserver::*what)(ResultToolModel&));

  bool shows_[kButtonCount] = {};
  std::vector<TableModel*> results_;
  std::size_t current_ = 0;
  std::vector<ResultToolObserver*> observers_;
};

}  // namespace ui
