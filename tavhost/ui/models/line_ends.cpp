#include "tavhost/ui/models/line_ends.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace ui {

namespace {

// Of mixed texts with long pasts the oldest are forgotten: 16 MiB.
constexpr std::size_t kMostRemembered = 1 << 20;

std::optional<LineEnd> EndOf(char16_t unit) {
  switch (unit) {
    case u'\n':
      return LineEnd::kLineFeed;
    case u'\r':
      return LineEnd::kReturn;
    case u'\u2029':
      return LineEnd::kParagraph;
    case char16_t{0xFDD0}:
      return LineEnd::kFrameBegin;
    case char16_t{0xFDD1}:
      return LineEnd::kFrameEnd;
    default:
      return std::nullopt;
  }
}

std::u16string_view TextOf(LineEnd end) {
  static constexpr char16_t kFrames[] = {0xFDD0, 0xFDD1};
  switch (end) {
    case LineEnd::kReturnLineFeed:
      return u"\r\n";
    case LineEnd::kReturn:
      return u"\r";
    case LineEnd::kParagraph:
      return u"\u2029";
    case LineEnd::kFrameBegin:
      return {kFrames, 1};
    case LineEnd::kFrameEnd:
      return {kFrames + 1, 1};
    case LineEnd::kLineFeed:
      break;
  }
  return u"\n";
}

}  // namespace

LineEnds::LineEnds(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::optional<LineEnd> end = EndOf(text[i]);
    if (!end) continue;
    if (end == LineEnd::kReturn && i + 1 < text.size() && text[i + 1] == u'\n') {
      end = LineEnd::kReturnLineFeed;
      ++i;
    }
    Append(runs_, *end, 1);
    ++count_;
  }
  Remember(0);
}

// What was done after that depth cannot be done again any more.
void LineEnds::Remember(std::size_t depth) {
  for (auto state = states_.lower_bound(depth); state != states_.end();) {
    remembered_ -= state->second.runs.size();
    state = states_.erase(state);
  }
  states_[depth] = {runs_, count_};
  remembered_ += runs_.size();
  while (remembered_ > kMostRemembered && states_.size() > 1) {
    remembered_ -= states_.begin()->second.runs.size();
    states_.erase(states_.begin());
  }
}

void LineEnds::Append(std::vector<Run>& runs, LineEnd end, std::size_t count) {
  if (count == 0) return;
  if (!runs.empty() && runs.back().end == end) {
    runs.back().count += count;
  } else {
    runs.push_back({end, count});
  }
}

std::vector<LineEnds::Run> LineEnds::Part(const std::vector<Run>& runs, std::size_t begin,
                                          std::size_t end) {
  std::vector<Run> part;
  std::size_t at = 0;
  for (const Run& run : runs) {
    const std::size_t from = std::max(at, begin);
    at += run.count;
    const std::size_t to = std::min(at, end);
    if (from < to) Append(part, run.end, to - from);
    if (at >= end) break;
  }
  return part;
}

LineEnd LineEnds::At(std::size_t index) const {
  std::size_t at = 0;
  for (const Run& run : runs_) {
    at += run.count;
    if (index < at) return run.end;
  }
  return runs_.empty() ? LineEnd::kLineFeed : runs_.back().end;
}

void LineEnds::Edit(std::size_t first, std::size_t removed, std::size_t added, std::size_t depth) {
  first = std::min(first, count_);
  removed = std::min(removed, count_ - first);
  // That of the line in which the edit was; behind the last line end that before it.
  const LineEnd own = At(first);
  const std::size_t replaced = std::min(removed, added);
  std::vector<Run> runs = Part(runs_, 0, first + replaced);
  Append(runs, own, added - replaced);
  for (const Run& run : Part(runs_, first + removed, count_)) Append(runs, run.end, run.count);
  runs_ = std::move(runs);
  count_ += added - removed;
  Remember(depth);
}

void LineEnds::Put(std::size_t first, std::u16string_view text, std::size_t depth) {
  first = std::min(first, count_);
  const LineEnds put(text);
  const std::size_t count = std::min(put.count_, count_ - first);
  std::vector<Run> runs = Part(runs_, 0, first);
  for (const Run& run : Part(put.runs_, 0, count)) Append(runs, run.end, run.count);
  for (const Run& run : Part(runs_, first + count, count_)) Append(runs, run.end, run.count);
  runs_ = std::move(runs);
  Remember(depth);
}

bool LineEnds::GoTo(std::size_t depth, std::size_t count) {
  const auto behind = states_.upper_bound(depth);
  if (behind == states_.begin()) return false;
  const State& state = std::prev(behind)->second;
  if (state.count != count) return false;
  runs_ = state.runs;
  count_ = count;
  return true;
}

std::u16string LineEnds::Written(std::u16string_view text, std::size_t first) const {
  std::u16string written;
  written.reserve(text.size() + count_);
  std::size_t run = 0;
  std::size_t used = first;
  while (run < runs_.size() && used > runs_[run].count) used -= runs_[run++].count;
  for (const char16_t unit : text) {
    if (unit != u'\u2029') {
      written += unit;
      continue;
    }
    if (run < runs_.size() && used == runs_[run].count) {
      ++run;
      used = 0;
    }
    ++used;
    written += TextOf(run < runs_.size() ? runs_[run].end : LineEnd::kLineFeed);
  }
  return written;
}

}  // namespace ui
