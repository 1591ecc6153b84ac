#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/export.h"

namespace ui {

// What ends a line. Text edits show all of them alike and give every line the same end back.
enum class LineEnd : std::uint8_t {
  kLineFeed,
  kReturnLineFeed,
  kReturn,
  kParagraph,   // U+2029
  kFrameBegin,  // U+FDD0, which text edits take for line ends too
  kFrameEnd,    // U+FDD1
};

// Which line ends stand where in a text that is edited, so that those which nobody touched keep
// their bytes. Texts are UTF-16; line ends are counted from 0.
class TAV_HOST_API LineEnds {
 public:
  explicit LineEnds(std::u16string_view text);

  std::size_t Count() const { return count_; }
  LineEnd At(std::size_t index) const;

  // The text was edited: behind its first `first` line ends `removed` have gone and `added` have
  // come. What replaces a line end is of its kind; what is more is of the kind of the line that was
  // broken. `depth` is the number of edits that can be taken back now; several with the same depth
  // are taken back together.
  void Edit(std::size_t first, std::size_t removed, std::size_t added, std::size_t depth);
  // Behind its first `first` line ends stand now those of that text, which has been put there.
  void Put(std::size_t first, std::u16string_view text, std::size_t depth);
  // Edits were taken back or done again until `depth` of them can be taken back. False, and nothing
  // changed, when no text with `count` line ends was there then or that is too long ago.
  bool GoTo(std::size_t depth, std::size_t count);

  // The text, in which every line end is U+2029, with its own line ends. It may be a part of the
  // whole, before which there are `first` line ends.
  std::u16string Written(std::u16string_view text, std::size_t first = 0) const;

 private:
  // Neighbours of one kind. Most texts are a single run.
  struct Run {
    LineEnd end;
    std::size_t count;
  };
  struct State {
    std::vector<Run> runs;
    std::size_t count;
  };

  void Remember(std::size_t depth);
  static void Append(std::vector<Run>& runs, LineEnd end, std::size_t count);
  static std::vector<Run> Part(const std::vector<Run>& runs, std::size_t begin, std::size_t end);

  std::vector<Run> runs_;
  std::size_t count_ = 0;
  std::map<std::size_t, State> states_;  // by depth
  std::size_t remembered_ = 0;           // runs of all states
};

}  // namespace ui
