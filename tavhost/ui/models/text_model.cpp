#include "tavhost/ui/models/text_model.h"

#include <algorithm>

namespace ui {

void TextModel::Replace(std::string_view text) {
  text_ = text;
  ++version_;
  droppedLines_ = 0;
  begin_ = 0;
  Tell();
}

void TextModel::Continue(std::string_view text, std::size_t dropped, std::string_view added) {
  const std::string_view lines = text_.substr(0, dropped);
  droppedLines_ += static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n'));
  begin_ += dropped;
  text_ = text;
  for (TextObserver* const observer : observers_) observer->TextAdded(*this, added);
  Tell();
}

void TextModel::Select(long from, long to) {
  selectionFrom_ = from;
  selectionTo_ = to;
  Tell();
}

void TextModel::ShowSelection() {
  ++showRequests_;
  Tell();
}

void TextModel::Tell() {
  for (TextObserver* const observer : observers_) observer->TextChanged(*this);
}

}  // namespace ui
