#pragma once

#include <QString>
#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace ui {

// Which entries of a list a search lets through, as rows; all of them while it has no text.
class ShownRows {
 public:
  // `textOf` gives the text of an entry. Matching does not look at case.
  template <typename TextOf>
  void Search(const QString& text, std::uint32_t count, const TextOf& textOf) {
    isNarrowed_ = !text.isEmpty();
    entries_.clear();
    if (!isNarrowed_) return;
    for (std::uint32_t entry = 0; entry < count; ++entry) {
      if (textOf(entry).contains(text, Qt::CaseInsensitive)) entries_.push_back(entry);
    }
  }

  int Count(std::size_t all) const { return static_cast<int>(isNarrowed_ ? entries_.size() : all); }
  std::uint32_t EntryAt(int row) const {
    return isNarrowed_ ? entries_[static_cast<std::size_t>(row)] : static_cast<std::uint32_t>(row);
  }
  // Empty when the search hides the entry.
  std::optional<int> RowOf(std::uint32_t entry) const {
    if (!isNarrowed_) return static_cast<int>(entry);
    const auto found = std::lower_bound(entries_.begin(), entries_.end(), entry);
    if (found == entries_.end() || *found != entry) return std::nullopt;
    return static_cast<int>(found - entries_.begin());
  }

 private:
  bool isNarrowed_ = false;
  std::vector<std::uint32_t> entries_;  // ascending
};

}  // namespace ui
