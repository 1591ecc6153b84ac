#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "host/export.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// A list of which one entry, or any number, is chosen, and check boxes below it.
class TAV_HOST_API ListBoxModel final : public ModalModel {
 public:
  struct CheckBox {
    std::string text;
    bool checked;
  };

  explicit ListBoxModel(bool multiple);

  bool IsMultiple() const { return multiple_; }

  // Throws std::length_error when all entries together would be longer than 4 GiB, and
  // stop::Stopped when a stop is asked for; so does the first Select behind it.
  void Insert(std::string_view entry);
  std::uint32_t Count() const { return static_cast<std::uint32_t>(ends_.size()); }
  std::string_view Entry(std::uint32_t index) const;

  // Selects the first entry of that text that is not selected yet, in place of the present one
  // when only one can be. False, and nothing changed, when there is none.
  bool Select(std::string_view entry);
  void SetSelected(std::uint32_t index, bool selected);
  bool IsSelected(std::uint32_t index) const { return selected_[index]; }
  void ClearSelection();
  std::vector<std::uint32_t> Selected() const;  // ascending

  void AddCheckBox(std::string text, bool checked);
  const std::vector<CheckBox>& CheckBoxes() const { return checkBoxes_; }
  std::vector<CheckBox>& CheckBoxes() { return checkBoxes_; }
  // By text: the first box of that text speaks for all of them; false when there is none.
  bool IsChecked(std::string_view text) const;
  // False when no box has that text.
  bool SetChecked(std::string_view text, bool checked);

  std::vector<ModalButton> Buttons() const override { return OkAndCancel(okText); }

  std::string boxText;
  std::string okText = "OK";

 private:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  void BuildIndex();

  bool multiple_;
  std::string text_;
  std::vector<std::uint32_t> ends_;
  std::vector<bool> selected_;
  std::uint32_t current_ = kNone;  // the selected entry when only one can be
  std::vector<CheckBox> checkBoxes_;
  // Made by the first Select: the first entry of each text, and behind each entry the next of the
  // same text. An inserted entry drops it.
  std::unordered_map<std::string_view, std::uint32_t> first_;
  std::vector<std::uint32_t> next_;
};

}  // namespace ui
