#include "tavhost/ui/models/list_box_model.h"

#include <limits>
#include <stdexcept>
#include <utility>

#include "tavhost/base/stop.h"

namespace ui {

namespace {

// A list of millions of entries is filled, and looked through, until a stop is asked for.
void LookForStop(std::size_t entries) {
  constexpr std::size_t kEvery = 4096;
  if (entries % kEvery == 0 && stop::IsRequested()) throw stop::Stopped();
}

}  // namespace

ListBoxModel::ListBoxModel(bool multiple)
    : ModalModel(ModalKind::kListBox, "Selection"), multiple_(multiple) {}

void ListBoxModel::Insert(std::string_view entry) {
  if (entry.size() > std::numeric_limits<std::uint32_t>::max() - text_.size()) {
    throw std::length_error("the list is too long");
  }
  LookForStop(ends_.size());
  first_.clear();
  next_.clear();
  text_.append(entry);
  ends_.push_back(static_cast<std::uint32_t>(text_.size()));
  selected_.push_back(false);
}

std::string_view ListBoxModel::Entry(std::uint32_t index) const {
  const std::uint32_t begin = index == 0 ? 0 : ends_[index - 1];
  return std::string_view(text_).substr(begin, ends_[index] - begin);
}

void ListBoxModel::BuildIndex() {
  first_.reserve(Count());
  next_.assign(Count(), kNone);
  for (std::uint32_t index = Count(); index-- > 0;) {
    LookForStop(index);
    const auto [place, isNew] = first_.try_emplace(Entry(index), index);
    if (!isNew) next_[index] = std::exchange(place->second, index);
  }
}

bool ListBoxModel::Select(std::string_view entry) {
  if (next_.size() != Count()) BuildIndex();
  const auto found = first_.find(entry);
  if (found == first_.end()) return false;
  if (!multiple_) {
    SetSelected(found->second, true);
    return true;
  }
  for (std::uint32_t index = found->second; index != kNone; index = next_[index]) {
    if (selected_[index]) continue;
    selected_[index] = true;
    return true;
  }
  return false;
}

void ListBoxModel::SetSelected(std::uint32_t index, bool selected) {
  if (!multiple_) {
    if (current_ != kNone && (selected || current_ == index)) {
      selected_[current_] = false;
      current_ = kNone;
    }
    if (selected) current_ = index;
  }
  selected_[index] = selected;
}

void ListBoxModel::ClearSelection() {
  selected_.assign(selected_.size(), false);
  current_ = kNone;
}

std::vector<std::uint32_t> ListBoxModel::Selected() const {
  std::vector<std::uint32_t> indices;
  if (!multiple_) {
    if (current_ != kNone) indices.push_back(current_);
    return indices;
  }
  for (std::uint32_t index = 0; index < Count(); ++index) {
    if (selected_[index]) indices.push_back(index);
  }
  return indices;
}

void ListBoxModel::AddCheckBox(std::string text, bool checked) {
  checkBoxes_.push_back({std::move(text), checked});
}

bool ListBoxModel::IsChecked(std::string_view text) const {
  for (const CheckBox& box : checkBoxes_) {
    if (box.text == text) return box.checked;
  }
  return false;
}

bool ListBoxModel::SetChecked(std::string_view text, bool checked) {
  for (CheckBox& box : checkBoxes_) {
    if (box.text != text) continue;
    box.checked = checked;
    return true;
  }
  return false;
}

}  // namespace ui
