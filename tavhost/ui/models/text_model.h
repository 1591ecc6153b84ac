#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "tavhost/ui/models/window_model.h"

namespace ui {

class TextModel;

// Told of changes while they happen; what it does must be short, as scripts wait for it.
class TextObserver {
 public:
  virtual void TextChanged(TextModel&) {}  // the text, the selection, or what is to be seen
  // All that was put behind the text, also when some of it was dropped at once.
  virtual void TextAdded(TextModel&, std::string_view) {}

 protected:
  ~TextObserver() = default;
};

// The text of a control. Long texts mostly grow at their end and lose lines at their start; where
// they do, positions are kept that tell views what is new, however often the text changed since
// they last looked:
//
//   if (text.Version() != version_) …                           // show all of it again
//   drop text.DroppedLines() - droppedLines_ lines at the top;
//   append what stands behind shownEnd_ (text.Since(shownEnd_));
class TextModel final : public WindowModel {
 public:
  WindowContent Content() const override { return WindowContent::kText; }

  std::string_view Text() const { return text_; }

  // Counts how often the text became another one altogether.
  std::uint64_t Version() const { return version_; }
  // Of this version: lines dropped at the start so far, bytes dropped, and bytes there ever were.
  std::uint64_t DroppedLines() const { return droppedLines_; }
  std::uint64_t Begin() const { return begin_; }
  std::uint64_t End() const { return begin_ + text_.size(); }
  // What of the text stands behind that position.
  std::string_view Since(std::uint64_t place) const {
    return place <= begin_ ? text_ : text_.substr(static_cast<std::size_t>(place - begin_));
  }

  // The text as bytes that stay where they are until it is set again.
  void Replace(std::string_view text);
  // As Replace, for the old text with `added` behind it, of which then the first `dropped` bytes,
  // whole lines, were taken away. The old text must still be where it was.
  void Continue(std::string_view text, std::size_t dropped, std::string_view added);

  // The range of bytes selected; ends behind the text's end count as its end.
  void Select(long from, long to);
  long SelectionFrom() const { return selectionFrom_; }
  long SelectionTo() const { return selectionTo_; }
  // The end of the selection is to be in view. Counts how often that was asked for.
  void ShowSelection();
  std::uint64_t ShowRequests() const { return showRequests_; }

  void AddObserver(TextObserver& observer) { observers_.push_back(&observer); }
  void RemoveObserver(TextObserver& observer) { std::erase(observers_, &observer); }

 private:
  void Tell();

  std::string_view text_;
  std::uint64_t version_ = 0;
  std::uint64_t droppedLines_ = 0;
  std::uint64_t begin_ = 0;
  long selectionFrom_ = 0;
  long selectionTo_ = 0;
  std::uint64_t showRequests_ = 0;
  std::vector<TextObserver*> observers_;
};

}  // namespace ui
